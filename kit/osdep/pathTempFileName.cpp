#include <stdio.h>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/InvalidArgument.h"
#include "kit/exception/NonexistentException.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/SystemPath.h"
#include "kit/osdep/SystemText.h"
#include "kit/osdep/path.h"

// A source of its own, so that only programs that ask for temporary names hear the linker warn
// about tempnam.
namespace qv::kit::osdep::path {

WString TempFileName(const WString& prefix, const WString& directory) {
  if (prefix.empty() || prefix.find(L'/') != WString::npos) QV_THROW(exception::InvalidArgument());
  const WString where = directory.empty() ? TempDirName() : directory;
  RequireAbsolute(where);
  if (!IsDirectory(where)) QV_THROW(exception::NonexistentException());

  const String narrowWhere = ToSystemPath(where);
  const String narrowPrefix = ToSystemPath(prefix);
  const SystemText name(::tempnam(narrowWhere.c_str(), narrowPrefix.c_str()));
  if (name == nullptr) QV_THROW(PosixError());
  return WString(name.get());
}

}  // namespace qv::kit::osdep::path
