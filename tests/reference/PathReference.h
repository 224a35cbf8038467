#pragma once

#include <string>

// Path names as plain text, a rule at a time.
namespace qv::tests {

template <typename Text>
Text WithoutTrailingSlashes(Text path) {
  while (!path.empty() && path.back() == '/')
    path.pop_back();
  return path;
}

inline std::wstring DirNameReference(const std::wstring& path) {
  if (path.find_first_not_of(L'/') == std::wstring::npos) return path;
  if (path.back() == L'/') return WithoutTrailingSlashes(path);
  std::wstring parent = path;
  while (!parent.empty() && parent.back() != L'/')
    parent.pop_back();
  const std::wstring directory = WithoutTrailingSlashes(parent);
  return directory.empty() ? parent : directory;
}

inline std::wstring BaseNameReference(const std::wstring& path) {
  std::wstring base;
  for (const wchar_t character : path) {
    if (character == L'/') {
      base.clear();
    } else {
      base += character;
    }
  }
  return base;
}

template <typename Text>
Text JoinReference(const Text& a, const Text& b) {
  if (a.empty() || (!b.empty() && b.front() == '/')) return b;
  Text joined = a;
  if (a.back() != '/') joined += '/';
  return joined + b;
}

}  // namespace qv::tests
