#pragma once

#include <string>
#include <vector>

namespace qv::tests {

/// A path without its "." and ".." components, found by walking the components from the last to the
/// first with a count of those that a ".." is still to consume.
inline std::wstring NormalizePathReference(const std::wstring& path) {
  if (path.empty() || path[0] != L'/') return L"";
  if (path.find(L'.') == std::wstring::npos) return path;

  std::wstring copy = path;
  const bool slashAppended = copy.back() != L'/';
  if (slashAppended) copy += L'/';

  std::vector<std::wstring> components(1);
  for (const wchar_t character : copy) {
    if (character == L'/') {
      components.emplace_back();
    } else {
      components.back() += character;
    }
  }
  components.pop_back();

  std::wstring result;
  unsigned pending = 0;
  for (std::size_t index = components.size(); index-- > 0;) {
    const std::wstring& component = components[index];
    if (component == L"...") return L"";
    if (component == L"..") {
      ++pending;
    } else if (component != L".") {
      if (pending == 0) {
        result.insert(0, component + L"/");
      } else if (index == 0) {
        return L"";
      } else {
        --pending;
      }
    }
  }

  if (slashAppended && result.find_first_not_of(L'/') != std::wstring::npos) {
    while (result.back() == L'/')
      result.pop_back();
  }
  return result;
}

}  // namespace qv::tests
