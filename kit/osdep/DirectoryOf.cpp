#include "kit/osdep/DirectoryOf.h"

#include "kit/osdep/path.h"

namespace qv::kit::osdep {

WString DirectoryOf(const WString& file) {
  WString directory = path::AbsPath(path::DirName(file));
  path::MakePathEndInSlash(directory);
  return directory;
}

}  // namespace qv::kit::osdep
