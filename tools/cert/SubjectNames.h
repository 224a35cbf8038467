#pragma once

#include <string>
#include <vector>

namespace qv::tools::cert {

/// Whom a certificate is for, in the order in which they were named.
struct SubjectNames {
  /// Names of hosts, without doublets in any case of letters.
  std::vector<std::string> hosts;
  /// IPv4 and IPv6 addresses.
  std::vector<std::string> addresses;
};

/// Why a client would never find a host by this name, or an empty text: labels of ASCII letters,
/// digits, hyphens and underscores, 63 at most each and 253 in all; the first may be "*" where two
/// more follow. What reads as an address is none.
std::string WhyNoHostName(const std::string& name);

/// Whether text is an IPv4 or IPv6 address, without a zone.
bool IsAddress(const std::string& text);

/// Adds name or address unless it is there.
void AddHost(const std::string& name, SubjectNames& names);
void AddAddress(const std::string& address, SubjectNames& names);

/// The names that every server has: host, "localhost", and the loopback addresses.
SubjectNames UsualNames(const std::string& host);

/// What the system calls this host.
std::string SystemHostName();

}  // namespace qv::tools::cert
