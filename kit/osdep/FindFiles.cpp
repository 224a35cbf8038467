#include "kit/osdep/FindFiles.h"

#include <glob.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/PosixError.h"
#include "kit/osdep/SystemPath.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep {
namespace {

/// What glob found, given back at the end of the scope.
class Matches {
 public:
  Matches() = default;
  Matches(const Matches&) = delete;
  Matches& operator=(const Matches&) = delete;
  ~Matches() { ::globfree(&found_); }

  // NOLINTNEXTLINE(concurrency-mt-unsafe): what it shares between threads are the homes of users.
  int search(const char* pattern) { return ::glob(pattern, 0, nullptr, &found_); }
  std::size_t count() const { return found_.gl_pathc; }
  const char* operator[](std::size_t index) const { return found_.gl_pathv[index]; }

 private:
  glob_t found_{};
};

Vector<WString> Find(const String& pattern) {
  Matches matches;
  const int result = matches.search(pattern.c_str());
  if (result == GLOB_NOMATCH) return Vector<WString>();
  // Not every way to run out of memory tells errno.
  if (result == GLOB_NOSPACE) errno = ENOMEM;
  if (result != 0) QV_THROW(PosixError());

  Vector<WString> names;
  for (std::size_t index = 0; index < matches.count(); ++index) {
    names.push_back(WString(matches[index]));
  }
  return names;
}

/// text as a pattern that matches nothing but text.
String Quoted(const String& text) {
  String quoted;
  for (const char character : text) {
    if (std::strchr("*?[\\", character) != nullptr) quoted += '\\';
    quoted += character;
  }
  return quoted;
}

}  // namespace

Vector<WString> FindFiles::getFilenames(const WString& pattern) {
  return Find(ToSystemPath(pattern));
}

Vector<WString> FindFiles::getEntries(const WString& directory) {
  // Quoted after the conversion: a character that the locale lacks arrives as "?".
  return Find(path::Join(Quoted(ToSystemPath(directory)), String("*")));
}

}  // namespace qv::kit::osdep
