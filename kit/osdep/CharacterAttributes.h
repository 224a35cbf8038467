#pragma once

#include <locale>

namespace qv::kit::osdep {

/// The classic "C" locale, which character classes use by default. Made at the first call, from
/// whatever thread, and destroyed when the process exits.
const std::locale& GetDefaultSystemLocaleHelper();

/// Answers questions about single characters as a locale has it. Exists for char and wchar_t.
/// Never fails once built; any number of threads may ask at once.
template <typename CharT>
class CharacterAttributes {
 public:
  /// Uses the "C" locale.
  CharacterAttributes();

  /// Uses the locale of that name. Throws InvalidArgument2, with the reason that the standard
  /// library gives, when there is none.
  explicit CharacterAttributes(const char* localeName);

  /// @{
  /// Whether the character is of the class that the C library's function of that name asks for.
  bool isAlnum(CharT character) const;
  bool isAlpha(CharT character) const;
  bool isCntrl(CharT character) const;
  bool isDigit(CharT character) const;
  bool isGraph(CharT character) const;
  bool isLower(CharT character) const;
  bool isPrint(CharT character) const;
  bool isPunct(CharT character) const;
  bool isSpace(CharT character) const;
  bool isUpper(CharT character) const;
  bool isXDigit(CharT character) const;
  /// @}

  /// @{
  /// The character in the case of the name, or the character itself where there is none.
  CharT toUpper(CharT character) const;
  CharT toLower(CharT character) const;
  /// @}

 private:
  const std::ctype<CharT>& facet() const { return std::use_facet<std::ctype<CharT>>(locale_); }

  std::locale locale_;
};

extern template class CharacterAttributes<char>;
extern template class CharacterAttributes<wchar_t>;

}  // namespace qv::kit::osdep
