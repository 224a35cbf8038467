#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qv::tests {

/// A file that programs of every width write alike and read from each other. It lies in the current
/// directory and holds values that every program knows.
struct ExchangedFile {
  std::string name;
  std::function<void()> write;
  /// Throws what is wrong, with the name of the value that is not as this program knows it.
  std::function<void()> read;
};

/// The integers, strings, vectors, status chains and buffers that serialize themselves.
std::vector<ExchangedFile> SerializedFiles();
/// Buffers in rings.
std::vector<ExchangedFile> RingFiles();
/// Blocks with their length before them, of either byte order.
std::vector<ExchangedFile> ByteVectorFiles();
/// Settings by the INI library and by the INI file manager.
std::vector<ExchangedFile> IniFiles();

inline void Require(bool holds, const std::string& otherwise) {
  if (!holds) throw std::runtime_error(otherwise);
}

/// Does what is to be done with a value, and tells its name when that fails.
template <typename Action>
void WithValue(const std::string& name, Action action) {
  try {
    action();
  } catch (const std::exception& error) {
    throw std::runtime_error("\"" + name + "\": " + error.what());
  }
}

}  // namespace qv::tests
