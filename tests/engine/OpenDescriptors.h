#pragma once

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace qv::tests {

/// The numbers under which this process has file open.
inline std::vector<int> DescriptorsOf(const std::string& file) {
  std::vector<int> found;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    if (std::filesystem::read_symlink(entry.path(), error) == file)
      found.push_back(std::stoi(entry.path().filename()));
  }
  return found;
}

/// The one such number; -1 when the file is not open.
inline int DescriptorOf(const std::string& file) {
  const std::vector<int> found = DescriptorsOf(file);
  return found.empty() ? -1 : found.front();
}

}  // namespace qv::tests
