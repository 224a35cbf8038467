#pragma once

#include "kit/StringBase.h"

namespace qv::tests {

/// The path with a null character and more behind it.
inline kit::WString WithNull(const kit::WString& path) {
  kit::WString cut = path;
  cut += L'\0';
  cut += L"rest";
  return cut;
}

}  // namespace qv::tests
