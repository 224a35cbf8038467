#pragma once

#include <cstdint>
#include <exception>

namespace qv::kit::exception {

/// Base of every exception that the support library throws. Carries the place of the throw, which
/// QV_THROW fills in, and a code for the layer that turns the exception into a status.
///
/// The virtual operations are, in this order, the destructor, what() and getErrorCode(): modules
/// built apart rely on it.
class Exception : public std::exception {
 public:
  /// Without the place of a throw.
  Exception() = default;
  /// @{
  /// The copy has the place of the throw too.
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  /// @}
  ~Exception() override = default;

  /// The message. Valid as long as this object lives.
  const char* what() const noexcept override { return "unspecified exception"; }

  /// The code that a status chain stores for this failure.
  virtual std::int32_t getErrorCode() const noexcept { return -1; }

  /// Line of the throw; 0 when the exception was built without QV_THROW.
  std::uint32_t line() const noexcept { return line_; }

  /// Source file of the throw, relative to the root of the sources; null without QV_THROW.
  const char* file() const noexcept { return file_; }

  /// Records the place of the throw. file must be a text that is never freed.
  void setFileAndLine(const char* file, std::uint32_t line) noexcept {
    file_ = file;
    line_ = line;
  }

 private:
  std::uint32_t line_ = 0;
  const char* file_ = nullptr;
};

}  // namespace qv::kit::exception
