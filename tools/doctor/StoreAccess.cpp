#include "tools/doctor/StoreAccess.h"

#include <fcntl.h>
#include <unistd.h>

#include "tools/common/Printable.h"

namespace qv::tools::doctor {
namespace {

/// Whether those whom the bit is for may pass through every directory above file.
bool IsPassable(const std::string& file, mode_t executeBit) {
  for (std::string directory = Directory(file); !directory.empty();
       directory = Directory(directory)) {
    if ((FileFacts(directory).mode & executeBit) == 0) return false;
  }
  return true;
}

}  // namespace

bool IsReadableByOthers(const FileFacts& file) {
  return (file.mode & S_IROTH) != 0 && IsPassable(file.realPath, S_IXOTH);
}

bool IsReadableByGroup(const FileFacts& file) {
  return (file.mode & S_IRGRP) != 0 && IsPassable(file.realPath, S_IXGRP);
}

bool MayCreateIn(const std::string& directory) {
  return ::faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

void JudgeWriters(const FileFacts& file, const std::string& name, uid_t storeOwner,
                  Section& section) {
  if ((file.mode & S_IWOTH) != 0) {
    section.wrong(
        "Everybody may write to " + name + ": " + file.accessText(),
        std::string(file.isDirectory() ? "chmod 0700 the directory" : "chmod 0600 the file") +
            ", and see what has been put there.");
  } else if ((file.mode & S_IWGRP) != 0) {
    section.note(
        "The group " + Printable(file.group) + " may write to " + name + ": " + file.accessText(),
        "chmod g-w, unless that group is meant to.");
  }
  if (file.uid != 0 && file.uid != ::geteuid() && file.uid != storeOwner) {
    section.wrong(name + " belongs to " + Printable(file.owner) +
                      ", who is neither the store's owner nor this user: " + file.accessText(),
                  "Give it to the user that the server runs as, and see what is in it.");
  }
}

}  // namespace qv::tools::doctor
