#include "kit/osdep/path.h"

#include <algorithm>
#include <cstdint>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/InvalidArgument.h"

namespace qv::kit::osdep::path {
namespace {

template <typename StringT>
bool EndsInSlash(const StringT& path) {
  return !path.empty() && path[path.length() - 1] == '/';
}

template <typename StringT>
StringT JoinParts(const StringT& a, const StringT& b) {
  if (a.empty() || (!b.empty() && b[0] == '/')) return b;
  StringT joined(a);
  if (!EndsInSlash(a)) joined += '/';
  joined += b;
  return joined;
}

/// How many of the first length characters of path are left without the slashes they end in.
std::uint32_t LengthWithoutTrailingSlashes(const WString& path, std::uint32_t length) {
  while (length > 0 && path[length - 1] == L'/')
    --length;
  return length;
}

/// Takes the last component off path, which ends in "/". False when only the root is left.
bool RemoveLastComponent(WString& path) {
  if (path.length() == 1) return false;
  path.resize(path.rfind(L'/', path.length() - 2) + 1, L'/');
  return true;
}

}  // namespace

WString DirName(const WString& path) {
  const std::uint32_t named = LengthWithoutTrailingSlashes(path, path.length());
  if (named == 0) return path;
  if (named != path.length()) return path.substr(0, named);

  const std::uint32_t slash = path.rfind(L'/');
  if (slash == WString::npos) return WString();
  const std::uint32_t parent = LengthWithoutTrailingSlashes(path, slash + 1);
  // Nothing but slashes before the last component: they are the root, and stay.
  return path.substr(0, parent == 0 ? slash + 1 : parent);
}

WString BaseName(const WString& path) {
  const std::uint32_t slash = path.rfind(L'/');
  return slash == WString::npos ? path : path.substr(slash + 1);
}

WString Join(const WString& a, const WString& b) {
  return JoinParts(a, b);
}

String Join(const String& a, const String& b) {
  return JoinParts(a, b);
}

void MakePathEndInSlash(WString& path) {
  if (path.empty()) QV_THROW(exception::InvalidArgument());
  if (!EndsInSlash(path)) path += L'/';
}

bool IsPathAbsolute(const wchar_t* text) {
  return text != nullptr && *text == L'/';
}

bool IsAbs(const WString& path) {
  return IsPathAbsolute(path.c_str());
}

WString NormalizePath(const WString& path) {
  if (!IsAbs(path)) return WString();
  if (path.find(L'.') == WString::npos) return path;

  WString normalized;
  for (std::uint32_t start = 0; start < path.length();) {
    const std::uint32_t slash = std::min(path.find(L'/', start), path.length());
    const WString component = path.substr(start, slash - start);
    start = slash + 1;
    if (component == L"...") return WString();
    if (component == L".") continue;
    if (component == L"..") {
      if (!RemoveLastComponent(normalized)) return WString();
      continue;
    }
    normalized += component;
    normalized += L'/';
  }
  return EndsInSlash(path) ? normalized : DirName(normalized);
}

}  // namespace qv::kit::osdep::path
