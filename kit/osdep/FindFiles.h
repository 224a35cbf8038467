#pragma once

#include "kit/StringBase.h"
#include "kit/Vector.h"

namespace qv::kit::osdep {

/// Search for files by the patterns of the shell. Any thread may call.
class FindFiles {
 public:
  /// The names that match pattern, sorted as the locale collates; a pattern without "*", "?" or "["
  /// matches the file with its name. A "*" or "?" matches no leading "." and no "/", and a
  /// backslash makes the next character stand for itself. Empty when nothing matches. Throws
  /// PosixError when the search itself fails, InvalidArgument when pattern holds a null character.
  static Vector<WString> getFilenames(const WString& pattern);

  /// The entries of directory, as getFilenames lists them for the pattern Join(directory, "*"), but
  /// with every character of directory standing for itself: directory "/a[b]" never shows entries
  /// of "/ab". Errors as for getFilenames.
  static Vector<WString> getEntries(const WString& directory);
};

}  // namespace qv::kit::osdep
