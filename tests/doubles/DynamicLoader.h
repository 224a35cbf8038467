#pragma once

#include <cstdint>
#include <fstream>
#include <stdexcept>
#include <string>

namespace qv::tests {

/// Where the code of the dynamic loader is in this process, and in those that it forks off. The
/// loader makes its system calls itself.
class DynamicLoader {
 public:
  DynamicLoader() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
      if (line.find("/ld-linux") == std::string::npos) continue;
      if (begin_ == 0) begin_ = std::stoull(line, nullptr, 16);
      end_ = std::stoull(line.substr(line.find('-') + 1), nullptr, 16);
    }
    if (begin_ == 0) throw std::runtime_error("no dynamic loader");
  }

  bool holds(std::uint64_t address) const { return address >= begin_ && address < end_; }

 private:
  std::uint64_t begin_ = 0;
  std::uint64_t end_ = 0;
};

}  // namespace qv::tests
