#include "tools/common/FileFacts.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace qv::tools {
namespace {

std::string OwnerName(uid_t uid) {
  const passwd* entry = ::getpwuid(uid);
  return entry == nullptr ? std::to_string(uid) : entry->pw_name;
}

std::string GroupName(gid_t gid) {
  const group* entry = ::getgrgid(gid);
  return entry == nullptr ? std::to_string(gid) : entry->gr_name;
}

std::string LinkTarget(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t length = ::readlink(path.c_str(), target, sizeof target);
  return length < 0 ? std::string() : std::string(target, static_cast<std::size_t>(length));
}

}  // namespace

FileFacts::FileFacts(const std::string& thePath) : path(thePath) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) == 0 && S_ISLNK(found.st_mode)) {
    isLink = true;
    linkTarget = LinkTarget(path);
  }
  if (::stat(path.c_str(), &found) != 0) {
    error = errno;
    return;
  }
  realPath = RealPath(path);
  mode = found.st_mode;
  uid = found.st_uid;
  gid = found.st_gid;
  owner = OwnerName(uid);
  group = GroupName(gid);
  size = found.st_size;
}

std::string FileFacts::modeText() const {
  char text[8];
  std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(permissions()));
  return text;
}

std::string FileFacts::kindText() const {
  if (isHidden()) return std::string("out of sight (") + std::strerror(error) + ")";
  if (!isThere()) return isLink ? "a link that leads nowhere" : "missing";
  switch (mode & static_cast<mode_t>(S_IFMT)) {
    case S_IFREG:
      return "a regular file";
    case S_IFDIR:
      return "a directory";
    case S_IFIFO:
      return "a pipe";
    case S_IFSOCK:
      return "a socket";
    default:
      return "a device";
  }
}

std::string FileFacts::accessText() const {
  return "mode " + modeText() + ", owner " + owner + ":" + group;
}

Fact FileFacts::json() const {
  Fact facts{{"path", path}, {"exists", isThere()}};
  if (isHidden()) facts["hidden"] = std::strerror(error);
  if (isLink) facts["link_target"] = linkTarget;
  if (!isThere()) return facts;
  facts["kind"] = kindText();
  facts["real_path"] = realPath;
  facts["mode"] = modeText();
  facts["owner"] = owner;
  facts["group"] = group;
  facts["size"] = size;
  return facts;
}

std::string RealPath(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
  return real == nullptr ? path : real.get();
}

std::string Directory(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

std::string Name(const std::string& path) {
  return path.substr(path.rfind('/') + 1);
}

}  // namespace qv::tools
