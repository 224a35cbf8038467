#pragma once

#include <cstdint>
#include <memory>

namespace qv::kit {

// The encoder of the dialect that Utf8ToWide.h describes: one to six bytes for the code points up
// to 0x7FFFFFFF, surrogates like any other. A character of 0x80000000 or above has no bytes and is
// written as "?". Code points from 0x200000 to 0x3FFFFFF take five bytes, which the decoder, by
// its own table, refuses.

/// Encodes the range into out and returns the number of bytes written; no terminator is added.
/// Stops before the first character that does not fit whole. Throws OutOfRange when the number of
/// bytes does not fit in 32 bits.
std::uint32_t WideToUtf8(const wchar_t* begin, const wchar_t* end, unsigned char* out,
                         const unsigned char* outEnd);

/// Encodes zero-terminated text into a new array that ends with a zero byte. A null text counts as
/// empty. Throws OutOfRange as GetUtf8EncodingBytes does.
std::unique_ptr<unsigned char[]> WideToUtf8(const wchar_t* text);

/// As the range form of WideToUtf8, under the name that tells the reader that a cut is meant.
std::uint32_t WideToUtf8NoOverflow(const wchar_t* begin, const wchar_t* end, unsigned char* out,
                                   const unsigned char* outEnd);

/// Number of bytes that the range encodes to. Throws OutOfRange when it does not fit in 32 bits.
std::uint32_t GetUtf8EncodingBytes(const wchar_t* begin, const wchar_t* end);

/// Number of bytes that as many of the first characters encode to as stay within limit together.
std::uint32_t GetUtf8EncodingBytesWithBufferLimit(const wchar_t* begin, const wchar_t* end,
                                                  std::uint32_t limit);

}  // namespace qv::kit
