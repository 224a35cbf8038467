#pragma once

#include <cstdint>
#include <cstring>

#include "kit/AddFileAndLineInfo.h"
#include "kit/RangeLength.h"
#include "kit/SafeInteger.h"
#include "kit/StringCompare.h"
#include "kit/Utf8ToWide.h"
#include "kit/WideToUtf8.h"
#include "kit/exception/DeserializationError.h"
#include "kit/osdep/AnsiToWide.h"
#include "kit/osdep/WideToAnsi.h"

namespace qv::kit {

// What the forms of StringBase do differently, for the eyes of StringBase.cpp only. Each form has
//
//     ConvertedBound  most characters that text of the other width converts to
//     Convert         converts it into that much room, and says how many characters it produced
//     Compare         order without regard to case
//     Equal           whether that order is 0
//     ExactCompare    order with regard to case
//     SerializedBytes bytes of the serialized form, without their count
//     Write           writes them
//     ReadLength      characters that such bytes stand for; throws when they stand for none
//     Read            reads that many characters

/// Serialized as its bytes, unchanged.
template <typename CharT>
struct PlainBytes {
  static std::uint32_t SerializedBytes(const CharT* begin, const CharT* end) {
    return RangeLength(begin, end);
  }
  static void Write(const CharT* begin, const CharT* end, unsigned char* out, unsigned char*) {
    std::memcpy(out, begin, RangeLength(begin, end));
  }
  static std::uint32_t ReadLength(const unsigned char* begin, const unsigned char* end) {
    return RangeLength(begin, end);
  }
  static void Read(const unsigned char* begin, const unsigned char*, CharT* out, CharT* outEnd) {
    std::memcpy(out, begin, RangeLength(out, outEnd));
  }
};

/// Serialized with a terminating zero that the count includes.
struct TerminatedBytes : PlainBytes<char> {
  static std::uint32_t SerializedBytes(const char* begin, const char* end) {
    return SafeInteger<unsigned long>::Add(RangeLength(begin, end), 1).value();
  }
  static void Write(const char* begin, const char* end, unsigned char* out, unsigned char* outEnd) {
    PlainBytes::Write(begin, end, out, outEnd);
    outEnd[-1] = 0;
  }
  static std::uint32_t ReadLength(const unsigned char* begin, const unsigned char* end) {
    if (end[-1] != 0) QV_THROW(exception::DeserializationError());
    return RangeLength(begin, end - 1);
  }
};

/// Serialized as UTF-8.
struct WideAsUtf8 {
  /// Leaves room for the 4-byte count.
  static constexpr std::uint32_t kLongest = 0xFFFFFFFBU;

  static std::uint32_t SerializedBytes(const wchar_t* begin, const wchar_t* end) {
    return GetUtf8EncodingBytesWithBufferLimit(begin, end, kLongest);
  }
  static void Write(const wchar_t* begin, const wchar_t* end, unsigned char* out,
                    unsigned char* outEnd) {
    WideToUtf8(begin, end, out, outEnd);
  }
  static std::uint32_t ReadLength(const unsigned char* begin, const unsigned char* end) {
    return GetUtf8StringLength(begin, end);
  }
  static void Read(const unsigned char* begin, const unsigned char* end, wchar_t* out,
                   wchar_t* outEnd) {
    Utf8ToWide(begin, end, out, outEnd);
  }
};

/// The name by which the converters know the encoding of the process locale.
inline constexpr char kProcessLocale[] = "";

/// What the two narrow forms have in common.
struct LocaleText {
  static std::uint32_t ConvertedBound(const wchar_t* begin, const wchar_t* end) {
    return osdep::GetWideToAnsiRequiredBufferLength(begin, end, kProcessLocale);
  }
  static std::uint32_t Convert(const wchar_t* begin, const wchar_t* end, char* out, char* outEnd) {
    return osdep::WideToAnsiNoAlloc(begin, end, kProcessLocale, out, outEnd);
  }
  static std::int32_t Compare(const char* begin, const char* end, const char* otherBegin,
                              const char* otherEnd) {
    return osdep::StringCaseCompare(begin, end, otherBegin, otherEnd);
  }
  static bool Equal(const char* begin, const char* end, const char* otherBegin,
                    const char* otherEnd) {
    return osdep::StringCaseEqual(begin, end, otherBegin, otherEnd);
  }
  static std::int32_t ExactCompare(const char* begin, const char* end, const char* otherBegin,
                                   const char* otherEnd) {
    return osdep::StringExactCompare(begin, end, otherBegin, otherEnd);
  }
};

template <typename CharT, typename OtherT, typename TerminatorT>
struct StringForm;

template <>
struct StringForm<wchar_t, char, wchar_t> : WideAsUtf8 {
  static std::uint32_t ConvertedBound(const char* begin, const char* end) {
    return osdep::GetAnsiToWideRequiredBufferLength(begin, end, kProcessLocale);
  }
  static std::uint32_t Convert(const char* begin, const char* end, wchar_t* out, wchar_t* outEnd) {
    return osdep::AnsiToWideNoAlloc(begin, end, kProcessLocale, out, outEnd);
  }
  static std::int32_t Compare(const wchar_t* begin, const wchar_t* end, const wchar_t* otherBegin,
                              const wchar_t* otherEnd) {
    return osdep::StringCaseCompare(begin, end, otherBegin, otherEnd);
  }
  static bool Equal(const wchar_t* begin, const wchar_t* end, const wchar_t* otherBegin,
                    const wchar_t* otherEnd) {
    return osdep::StringCaseEqual(begin, end, otherBegin, otherEnd);
  }
  static std::int32_t ExactCompare(const wchar_t* begin, const wchar_t* end,
                                   const wchar_t* otherBegin, const wchar_t* otherEnd) {
    return osdep::StringExactCompare(begin, end, otherBegin, otherEnd);
  }
};

template <>
struct StringForm<char, wchar_t, wchar_t> : LocaleText, PlainBytes<char> {};

template <>
struct StringForm<char, wchar_t, char> : LocaleText, TerminatedBytes {};

template <>
struct StringForm<unsigned char, wchar_t, wchar_t> : PlainBytes<unsigned char> {
  static std::uint32_t ConvertedBound(const wchar_t* begin, const wchar_t* end) {
    return GetUtf8EncodingBytes(begin, end);
  }
  static std::uint32_t Convert(const wchar_t* begin, const wchar_t* end, unsigned char* out,
                               unsigned char* outEnd) {
    return WideToUtf8(begin, end, out, outEnd);
  }
  static std::int32_t Compare(const unsigned char* begin, const unsigned char* end,
                              const unsigned char* otherBegin, const unsigned char* otherEnd) {
    return osdep::Utf8StringCaseInsensitiveCompare(begin, end, otherBegin, otherEnd);
  }
  static bool Equal(const unsigned char* begin, const unsigned char* end,
                    const unsigned char* otherBegin, const unsigned char* otherEnd) {
    return Compare(begin, end, otherBegin, otherEnd) == 0;
  }
  static std::int32_t ExactCompare(const unsigned char* begin, const unsigned char* end,
                                   const unsigned char* otherBegin, const unsigned char* otherEnd) {
    return osdep::Utf8StringExactCompare(begin, end, otherBegin, otherEnd);
  }
};

}  // namespace qv::kit
