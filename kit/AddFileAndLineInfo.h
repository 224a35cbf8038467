#pragma once

/// @file
/// How exceptions come to know where they were thrown.

#include <cstdint>

namespace qv::kit {

/// A copy of exception that knows the place of its throw. file must be a text that is never freed.
template <typename ExceptionT>
ExceptionT AddFileAndLineInfo(ExceptionT exception, const char* file, std::uint32_t line) {
  exception.setFileAndLine(file, line);
  return exception;
}

}  // namespace qv::kit

/// Throws a freshly built exception with the place of this line:
///     QV_THROW(exception::OutOfRange());
#define QV_THROW(exception) throw ::qv::kit::AddFileAndLineInfo((exception), __FILE__, __LINE__)
