#pragma once

#include <langinfo.h>

#include <cstdint>
#include <cstring>

namespace qv::kit::osdep {

// The process's locale has UTF-8 or ASCII on nearly every system, and nearly all text there, paths
// and host names, is ASCII. Such characters are copied: to open iconv takes ten times as long as to
// convert a path.

/// Whether locale is the empty name, and the encoding that it stands for one in which ASCII
/// characters are themselves, whatever stands around them.
inline bool IsProcessLocaleOverAscii(const char* locale) {
  if (*locale != '\0') return false;
  const char* const codeset = ::nl_langinfo(CODESET);
  return std::strcmp(codeset, "UTF-8") == 0 || std::strcmp(codeset, "ANSI_X3.4-1968") == 0;
}

/// Copies characters up to the first one that is not ASCII, as long as there is room, and moves
/// both cursors. Returns whether that was all of the input.
template <typename FromT, typename ToT>
bool CopyAscii(const FromT*& begin, const FromT* end, ToT*& out, const ToT* outEnd) {
  while (begin < end && out < outEnd && static_cast<std::uint32_t>(*begin) < 0x80) {
    *out++ = static_cast<ToT>(*begin++);
  }
  return begin == end;
}

}  // namespace qv::kit::osdep
