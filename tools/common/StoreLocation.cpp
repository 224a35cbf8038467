#include "tools/common/StoreLocation.h"

#include <cstdlib>

#include "kit/StringBase.h"
#include "kit/osdep/GetCertStoreDir.h"
#include "tools/common/Printable.h"

namespace qv::tools {

StoreLocation::StoreLocation() : path(kit::String(kit::osdep::GetCertStoreDir()).c_str()) {
  const char* const value = std::getenv("QVPUBAPPDATADIR");
  if (value == nullptr) return;
  isVariableSet = true;
  variable = value;
  const std::string subject = "QVPUBAPPDATADIR is " + Quoted(variable) + ", which ";
  const std::string result = ": the store is " + Quoted(path);
  if (variable.empty() || variable[0] != '/') {
    complaint = subject + "is no absolute path, and is ignored" + result;
    advice = "Set it to a path that begins with a slash, or not at all.";
  } else if (path.compare(0, variable.size(), variable) != 0) {
    complaint = subject + "cannot be read in this locale" + result;
    advice = "Run the server in a UTF-8 locale that is installed, or use ASCII letters only.";
  }
}

}  // namespace qv::tools
