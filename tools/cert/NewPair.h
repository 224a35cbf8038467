#pragma once

#include "tools/cert/Pair.h"
#include "tools/cert/SubjectNames.h"

namespace qv::tools::cert {

enum class KeyKind { Rsa2048, Rsa3072, P256 };

/// Makes a key and a certificate that it signs itself, with SHA-256: for TLS servers, and no
/// authority over others. It is valid from an hour ago, for clients whose clocks are slow, to days
/// of 86,400 seconds from now. names must name somebody. Throws Failure.
///
/// The subject's common name is the first of the names, where it has 64 characters or fewer: there
/// is no room for more, and a name that is cut is somebody else's. Clients look at the
/// subjectAltName, which has all names whole.
Pair MakePair(KeyKind kind, const SubjectNames& names, int days);

}  // namespace qv::tools::cert
