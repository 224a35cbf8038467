#include "tools/doctor/SmallFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace qv::doctor {
namespace {

std::string Failure(int error, const FileFacts& file) {
  return std::string(std::strerror(error)) + " (" + file.accessText() + ")";
}

}  // namespace

SmallFile::SmallFile(const FileFacts& file) {
  static constexpr std::size_t kMost = 1U << 20U;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.path.c_str(), "r"),
                                                               std::fclose);
  if (stream == nullptr) {
    failure = Failure(errno, file);
    return;
  }
  char buffer[4096];
  std::size_t count = 0;
  while (!isCut && (count = std::fread(buffer, 1, sizeof buffer, stream.get())) > 0) {
    const std::size_t kept = std::min(count, kMost - text.size());
    text.append(buffer, kept);
    isCut = kept < count;
  }
  if (std::ferror(stream.get()) != 0) failure = Failure(errno, file);
}

}  // namespace qv::doctor
