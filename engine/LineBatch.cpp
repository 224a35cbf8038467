#include "engine/LineBatch.h"

#include <algorithm>
#include <cstring>

namespace qv::traceengine {

void LineBatch::add(const char* line, std::size_t size) noexcept {
  if (size > sizeof(lines_) - size_) write();
  std::memcpy(lines_ + size_, line, size);
  size_ += size;
}

void LineBatch::write() noexcept {
  if (size_ == 0) return;
  const std::size_t written = file_.append(lines_, size_);
  const auto missing = std::count(lines_ + written, lines_ + size_, '\n');
  dropped_ += static_cast<std::uint64_t>(missing);
  size_ = 0;
}

std::uint64_t LineBatch::takeDropped() noexcept {
  const std::uint64_t dropped = dropped_;
  dropped_ = 0;
  return dropped;
}

}  // namespace qv::traceengine
