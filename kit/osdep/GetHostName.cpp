#include "kit/osdep/GetHostName.h"

#include <string.h>
#include <unistd.h>

#include "kit/exception/Exception.h"

namespace qv::kit::osdep {

WString GetHostName(bool forceFqdn) {
  WString configured;
  if (GetConfiguredHostName(configured)) return forceFqdn ? ForceFQDN(configured) : configured;

  char name[256];
  if (::gethostname(name, sizeof name) != 0) return L"localhost";
  // A name that fills the buffer may come without a terminator.
  const char* const end = name + ::strnlen(name, sizeof name);
  try {
    return WString(name, end);
  } catch (const exception::Exception&) {
    return L"localhost";
  }
}

bool GetConfiguredHostName(WString& /*name*/) {
  return false;
}

WString ForceFQDN(const WString& name) {
  return name;
}

}  // namespace qv::kit::osdep
