#include "tools/common/StoreLocation.h"

#include <cstdlib>

#include "kit/StringBase.h"
#include "kit/osdep/GetCertStoreDir.h"
#include "kit/osdep/TrustedVariable.h"
#include "tools/common/Printable.h"

namespace qv::tools {
namespace {

constexpr char kVariable[] = "QVPUBAPPDATADIR";

}  // namespace

StoreLocation::StoreLocation() : path(kit::String(kit::osdep::GetCertStoreDir()).c_str()) {
  const char* const value = std::getenv(kVariable);
  if (value == nullptr) return;
  isVariableSet = true;
  variable = value;
  const std::string subject = "QVPUBAPPDATADIR is " + Quoted(variable) + ", which ";
  const std::string result = ": the store is " + Quoted(path);
  if (kit::osdep::TrustedVariable(kVariable) == nullptr) {
    complaint = subject + "counts for nothing with the rights of another user or group" + result;
    advice = "Run a copy of the program that is neither set-user-ID nor set-group-ID.";
  } else if (variable.empty() || variable[0] != '/') {
    complaint = subject + "is no absolute path, and is ignored" + result;
    advice = "Set it to a path that begins with a slash, or not at all.";
  } else if (path.compare(0, variable.size(), variable) != 0) {
    complaint = subject + "cannot be read in this locale" + result;
    advice = "Run the server in a UTF-8 locale that is installed, or use ASCII letters only.";
  }
}

}  // namespace qv::tools
