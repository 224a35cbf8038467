#pragma once

#include <string>

namespace qv::tools::cert {

/// Tells on standard error what is unwise or worth knowing, and does not keep a pair from its
/// place.
void Warn(const std::string& text);

}  // namespace qv::tools::cert
