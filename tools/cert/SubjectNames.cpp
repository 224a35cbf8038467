#include "tools/cert/SubjectNames.h"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "kit/StringBase.h"
#include "kit/osdep/GetHostName.h"

namespace qv::tools::cert {
namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kLabelCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr std::size_t kMostInName = 253;
constexpr std::size_t kMostInLabel = 63;
// A network address in binary, of either family.
using Octets = std::array<unsigned char, 16>;

std::vector<std::string_view> Labels(std::string_view name) {
  std::vector<std::string_view> labels;
  for (std::size_t dot = name.find('.'); dot != std::string_view::npos; dot = name.find('.')) {
    labels.push_back(name.substr(0, dot));
    name.remove_prefix(dot + 1);
  }
  labels.push_back(name);
  return labels;
}

std::string WhyNoLabel(std::string_view label) {
  if (label.empty()) return "a part of it between dots is empty";
  if (label.size() > kMostInLabel) return "a part of it has more than 63 characters";
  if (label.find_first_not_of(kLabelCharacters) != std::string_view::npos) {
    return "only letters a to z, digits, hyphens and underscores make a name (others have a form "
           "that begins with 'xn--')";
  }
  if (label.front() == '-' || label.back() == '-') return "a part of it begins or ends in a hyphen";
  return {};
}

/// The number of the family's octets, or 0 where text is no address of it.
std::size_t ReadAddress(const std::string& text, Octets& octets) {
  if (::inet_pton(AF_INET, text.c_str(), octets.data()) == 1) return 4;
  return ::inet_pton(AF_INET6, text.c_str(), octets.data()) == 1 ? 16 : 0;
}

bool IsSameAddress(const std::string& one, const std::string& other) {
  Octets first{};
  Octets second{};
  return ReadAddress(one, first) == ReadAddress(other, second) && first == second;
}

}  // namespace

std::string WhyNoHostName(const std::string& name) {
  if (name.size() > kMostInName) return "it has more than 253 characters";
  std::vector<std::string_view> labels = Labels(name);
  if (labels.front() == "*") {
    if (labels.size() < 3) return "a '*' stands for one part of a name of three or more";
    labels.erase(labels.begin());
  }
  for (const std::string_view label : labels) {
    if (std::string reason = WhyNoLabel(label); !reason.empty()) return reason;
  }
  if (labels.back().find_first_not_of(kDigits) == std::string_view::npos)
    return "its last part is a number, as in an address";
  return {};
}

bool IsAddress(const std::string& text) {
  Octets octets{};
  return ReadAddress(text, octets) != 0;
}

void AddHost(const std::string& name, SubjectNames& names) {
  const auto isSame = [&](const std::string& other) {
    return ::strcasecmp(name.c_str(), other.c_str()) == 0;
  };
  if (std::none_of(names.hosts.begin(), names.hosts.end(), isSame)) names.hosts.push_back(name);
}

void AddAddress(const std::string& address, SubjectNames& names) {
  const auto isSame = [&](const std::string& other) { return IsSameAddress(address, other); };
  if (std::none_of(names.addresses.begin(), names.addresses.end(), isSame))
    names.addresses.push_back(address);
}

SubjectNames UsualNames(const std::string& host) {
  SubjectNames names;
  AddHost(host, names);
  AddHost("localhost", names);
  names.addresses = {"127.0.0.1", "::1"};
  return names;
}

std::string SystemHostName() {
  return kit::String(kit::osdep::GetHostName(false)).c_str();
}

}  // namespace qv::tools::cert
