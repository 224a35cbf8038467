#pragma once

#include <cstdlib>

namespace qv::tests {

/// Lets setlocale() find the locales that were built for the tests: "de_DE.ISO-8859-1".
inline void UseTestLocales() {
  ::setenv("LOCPATH", QV_TEST_LOCALES, 1);
}

}  // namespace qv::tests
