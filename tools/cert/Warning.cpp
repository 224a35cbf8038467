#include "tools/cert/Warning.h"

#include <cstdio>

#include "tools/cert/Options.h"

namespace qv::tools::cert {

void Warn(const std::string& text) {
  std::fprintf(stderr, "%s: warning: %s\n", kProgram, text.c_str());
}

}  // namespace qv::tools::cert
