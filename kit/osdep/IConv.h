#pragma once

#include <iconv.h>

#include <algorithm>
#include <cstddef>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/InvalidLocale.h"

namespace qv::kit::osdep {

/// iconv's name for what wide text is in memory.
inline constexpr char kWideEncoding[] = "UTF-32LE";
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && sizeof(wchar_t) == 4);

/// A conversion opened with iconv_open, closed with the object.
class IConvDescriptor {
 public:
  /// Throws InvalidLocale when iconv has no conversion between the two encodings.
  IConvDescriptor(const char* toEncoding, const char* fromEncoding)
      : descriptor_(::iconv_open(toEncoding, fromEncoding)) {
    // iconv_open reports failure as the number -1 in the place of a descriptor.
    if (descriptor_ == reinterpret_cast<iconv_t>(-1)) {
      QV_THROW(exception::InvalidLocale());
    }
  }
  IConvDescriptor(const IConvDescriptor&) = delete;
  IConvDescriptor& operator=(const IConvDescriptor&) = delete;
  ~IConvDescriptor() { ::iconv_close(descriptor_); }

  /// Converts as far as iconv gets in one call and moves the cursors. False when it stopped at
  /// something: bad input, input that ends within a character, or too little room.
  bool Convert(char*& in, std::size_t& inLeft, char*& out, std::size_t& outLeft) {
    return ::iconv(descriptor_, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
  }

 private:
  iconv_t descriptor_;
};

/// Converts text from one encoding into another, wide to narrow or narrow to wide. On return outEnd
/// is the end of what was written; no terminator is added, stateful encodings are not brought back
/// to their initial state, and encodings that look ahead keep back the last character where another
/// might combine with it: it is lost. docs/text.md names them.
///
/// Whatever cannot be converted becomes one "?" for each unit of input (a byte, or a wide
/// character). So does a character that is too large for the room that is left, as long as there is
/// any; input that remains after the last of the room is dropped. Only an encoding that iconv does
/// not know is an error: InvalidLocale. Any thread may call; the calls share no state but the
/// process's locale, which the empty name of an encoding stands for: setlocale meanwhile is a race.
/// The names must not be null.
template <typename FromT, typename ToT>
void IConv(const FromT* begin, const FromT* end, const char* fromEncoding, ToT* outBegin,
           ToT*& outEnd, const char* toEncoding) {
  IConvDescriptor descriptor(toEncoding, fromEncoding);
  // iconv takes its input through a pointer to non-const, and leaves it alone.
  char* in = const_cast<char*>(reinterpret_cast<const char*>(begin));
  char* out = reinterpret_cast<char*>(outBegin);
  std::size_t inLeft = static_cast<std::size_t>(end - begin) * sizeof(FromT);
  std::size_t outLeft = static_cast<std::size_t>(outEnd - outBegin) * sizeof(ToT);

  while (inLeft > 0 && outLeft >= sizeof(ToT)) {
    if (descriptor.Convert(in, inLeft, out, outLeft)) {
      break;
    }
    if (inLeft == 0 || outLeft < sizeof(ToT)) {
      break;
    }
    *reinterpret_cast<ToT*>(out) = ToT{'?'};
    out += sizeof(ToT);
    outLeft -= sizeof(ToT);
    // iconv may have stopped within a unit: what is left of the last one is skipped, and no more.
    const std::size_t skipped = std::min(inLeft, sizeof(FromT));
    in += skipped;
    inLeft -= skipped;
  }
  outEnd = reinterpret_cast<ToT*>(out);
}

}  // namespace qv::kit::osdep
