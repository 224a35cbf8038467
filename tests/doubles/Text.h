#pragma once

#include <string>

#include "kit/StringBase.h"

namespace qv::tests {

/// The characters of string, for comparisons that must distinguish case.
inline std::wstring Exactly(const kit::WString& string) {
  return {string.begin(), string.end()};
}
inline std::string Exactly(const kit::String& string) {
  return {string.begin(), string.end()};
}

}  // namespace qv::tests
