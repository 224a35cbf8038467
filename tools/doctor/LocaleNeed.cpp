#include "tools/doctor/LocaleNeed.h"

#include <algorithm>

#include "tools/common/Printable.h"

namespace qv::tools::doctor {

void JudgeLocaleNeed(const std::string& path, const char* result, Section& section) {
  const bool isAscii =
      std::all_of(path.begin(), path.end(), [](unsigned char byte) { return byte < 0x80; });
  section.facts["needs_locale"] = !isAscii;
  if (isAscii) return;
  section.note(Quoted(path) +
                   " is not ASCII: a host that never calls setlocale cannot read it, whatever its "
                   "environment says, " +
                   result,
               "Use a name in ASCII, or have the host call setlocale before its first Init.");
}

}  // namespace qv::tools::doctor
