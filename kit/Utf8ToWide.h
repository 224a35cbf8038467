#pragma once

#include <cstdint>
#include <memory>

namespace qv::kit {

// UTF-8 here is the early dialect of up to six bytes a character: every code point up to 0x7FFFFFFF
// has its bytes, surrogates are characters like any other. Bytes that follow no row of the dialect,
// or that end in the middle of a character, throw InvalidSequence. No byte at or past end is read.

/// Decodes the character at p into out and returns the pointer past it. A null p or an empty range
/// gives the character 0 and p. Throws InvalidSequence, with out untouched, for anything that is no
/// character.
const unsigned char* ConvertNextUtf8Character(const unsigned char* p, const unsigned char* end,
                                              wchar_t& out);

/// Decodes the whole range into out and returns the number of characters written; no terminator is
/// added. Throws BufferOverflow when the output is full and input remains, InvalidSequence when the
/// input is not UTF-8; the output then holds what was decoded before.
std::uint32_t Utf8ToWide(const unsigned char* begin, const unsigned char* end, wchar_t* out,
                         const wchar_t* outEnd);

/// Decodes length bytes into a new array, which ends with a zero character that follows the last
/// decoded one. A null text counts as empty. Throws InvalidSequence.
std::unique_ptr<wchar_t[]> Utf8ToWide(const unsigned char* text, std::uint32_t length);

/// As the range form of Utf8ToWide, but a full output ends the conversion without a word; what
/// remains of the input is not looked at.
std::uint32_t Utf8ToWideNoOverflow(const unsigned char* begin, const unsigned char* end,
                                   wchar_t* out, const wchar_t* outEnd);

/// Number of characters that the range decodes to. Throws InvalidSequence where decoding would, and
/// OutOfRange when the number does not fit in 32 bits.
std::uint32_t GetUtf8StringLength(const unsigned char* begin, const unsigned char* end);

}  // namespace qv::kit
