#pragma once

#include <string>

namespace qv::tools::cert {

inline constexpr char kKey[] = "server_0.key";
inline constexpr char kCertificate[] = "server_0.cer";

// Two files cannot be replaced in one step, but a link can. So a directory beside the pair gets the
// old pair and the new one, and a link "pair" to the old. Then each of the two files becomes a link
// through that one, which changes nothing that can be read; "pair" is turned to the new pair, which
// is the one step that decides; and the links become files again. Whoever is killed anywhere leaves
// a pair that matches, be it behind links.
//
// All of it happens in the current directory and is for those who hold the StoreLock.

/// Puts key and certificate, as text, in place of those that are there. Where no two files are to
/// be read there, the key goes first: alone it counts for nothing. Throws Failure; the pair is the
/// old one then, unless it says otherwise.
void PutPairInPlace(const std::string& key, const std::string& certificate);

/// Makes files of links that a replacement left which was interrupted, and removes what else it
/// left. Throws Failure.
void FinishReplacement();

}  // namespace qv::tools::cert
