#pragma once

#include <string>

namespace qv::tools::cert {

inline constexpr char kKey[] = "server_0.key";
inline constexpr char kCertificate[] = "server_0.cer";

// Two files cannot be replaced in one step, but a link can. So a directory beside the pair gets the
// old pair and the new one, and a link "pair" to the old. Then each of the two files becomes a link
// through that one, which changes nothing that can be read; "pair" is turned to the new pair, which
// is the one step that decides; and the links become files again. Whoever is killed anywhere leaves
// a pair that matches, be it behind links. A certificate without its key goes the same way. Where
// there is none, the key goes first, and the certificate after it: alone a key counts for nothing.
//
// All of it happens in the current directory and is for those who hold the StoreLock.

/// Puts key and certificate, as text, in place of those that are there. Throws Failure; the pair is
/// the old one then, unless it says otherwise.
void PutPairInPlace(const std::string& key, const std::string& certificate);

/// Makes files of links that a replacement left which was interrupted, and removes what else it
/// left. Throws Failure, and touches nothing, where there is something else by the names it uses.
void FinishReplacement();

}  // namespace qv::tools::cert
