#include "tools/doctor/SmallFile.h"

#include <cerrno>
#include <cstdio>
#include <memory>

namespace qv::doctor {

SmallFile::SmallFile(const FileFacts& file) {
  static constexpr std::size_t kMost = 1U << 20U;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.path.c_str(), "r"),
                                                               std::fclose);
  if (stream == nullptr) {
    error = errno;
    return;
  }
  char buffer[4096];
  std::size_t count = 0;
  while (text.size() < kMost && (count = std::fread(buffer, 1, sizeof buffer, stream.get())) > 0)
    text.append(buffer, count);
  if (std::ferror(stream.get()) != 0) error = errno;
}

}  // namespace qv::doctor
