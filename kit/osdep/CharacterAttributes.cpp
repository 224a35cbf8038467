#include "kit/osdep/CharacterAttributes.h"

#include <exception>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/InvalidArgument2.h"

namespace qv::kit::osdep {
namespace {

std::locale NamedLocale(const char* name) {
  try {
    return std::locale(name);
  } catch (const std::exception& e) {
    QV_THROW(exception::InvalidArgument2(e.what()));
  }
}

// Makes the default locale when the library is loaded. Whoever asks earlier, from another static
// initializer, makes it then.
// NOLINTNEXTLINE(cert-err58-cpp): the classic locale is copied without an exception.
[[maybe_unused]] const std::locale& g_defaultSystemLocale = GetDefaultSystemLocaleHelper();

}  // namespace

const std::locale& GetDefaultSystemLocaleHelper() {
  static const std::locale k_DEFAULT_SYSTEM_LOCALE = std::locale::classic();
  return k_DEFAULT_SYSTEM_LOCALE;
}

template <typename CharT>
CharacterAttributes<CharT>::CharacterAttributes() : locale_(GetDefaultSystemLocaleHelper()) {}

template <typename CharT>
CharacterAttributes<CharT>::CharacterAttributes(const char* localeName)
    : locale_(NamedLocale(localeName)) {}

template <typename CharT>
bool CharacterAttributes<CharT>::isAlnum(CharT character) const {
  return facet().is(std::ctype_base::alnum, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isAlpha(CharT character) const {
  return facet().is(std::ctype_base::alpha, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isCntrl(CharT character) const {
  return facet().is(std::ctype_base::cntrl, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isDigit(CharT character) const {
  return facet().is(std::ctype_base::digit, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isGraph(CharT character) const {
  return facet().is(std::ctype_base::graph, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isLower(CharT character) const {
  return facet().is(std::ctype_base::lower, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isPrint(CharT character) const {
  return facet().is(std::ctype_base::print, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isPunct(CharT character) const {
  return facet().is(std::ctype_base::punct, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isSpace(CharT character) const {
  return facet().is(std::ctype_base::space, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isUpper(CharT character) const {
  return facet().is(std::ctype_base::upper, character);
}

template <typename CharT>
bool CharacterAttributes<CharT>::isXDigit(CharT character) const {
  return facet().is(std::ctype_base::xdigit, character);
}

template <typename CharT>
CharT CharacterAttributes<CharT>::toUpper(CharT character) const {
  return facet().toupper(character);
}

template <typename CharT>
CharT CharacterAttributes<CharT>::toLower(CharT character) const {
  return facet().tolower(character);
}

template class CharacterAttributes<char>;
template class CharacterAttributes<wchar_t>;

}  // namespace qv::kit::osdep
