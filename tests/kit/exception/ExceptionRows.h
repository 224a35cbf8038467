#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "kit/exception/AccessDenied.h"
#include "kit/exception/BoundExceeded2.h"
#include "kit/exception/BufferOverflow.h"
#include "kit/exception/CarbonError.h"
#include "kit/exception/DeserializationError.h"
#include "kit/exception/FileAlreadyExists.h"
#include "kit/exception/FileReadFailed.h"
#include "kit/exception/FileWriteFailed.h"
#include "kit/exception/InvalidArgument2.h"
#include "kit/exception/InvalidLocale.h"
#include "kit/exception/InvalidOperation.h"
#include "kit/exception/InvalidSequence.h"
#include "kit/exception/NonexistentException.h"
#include "kit/exception/ObjectAlreadyExists.h"
#include "kit/exception/OutOfRange2.h"
#include "kit/exception/PosixError.h"
#include "kit/exception/UnableToConvert.h"

namespace qv::tests {

/// An exception as its thrower builds it, and what it says of itself.
struct ExceptionRow {
  std::shared_ptr<kit::exception::Exception> exception;
  const char* what;
  std::int32_t code;
};

template <typename Class, typename... Arguments>
ExceptionRow Has(const char* what, std::int32_t code, const Arguments&... arguments) {
  return {std::make_shared<Class>(arguments...), what, code};
}

/// Every class of the family.
inline std::vector<ExceptionRow> ExceptionRows() {
  using namespace kit::exception;
  using namespace kit::osdep;
  return {
      Has<Exception>("unspecified exception", -1),
      Has<InvalidArgument>("Invalid argument(s)", -1967362033),
      Has<InvalidArgument2>("Invalid argument(s): x", -1967362033, "x"),
      Has<OutOfRange>("Out of range", -1967362041),
      Has<OutOfRange2>("Out of range: x", -1967362041, "x"),
      Has<BoundExceeded>("A request was made that would exceed the bounds", -1967362041),
      Has<BoundExceeded2>("A request was made that would exceed the bounds: x", -1967362041, "x"),
      Has<ObjectAlreadyExists>("Object already exists", -1967362039),
      Has<NonexistentException>("The object does not exist", -1967362038),
      Has<InvalidOperation>("Invalid operation", -1967362034),
      Has<FileWriteFailed>("Write file operation failed", -1967362031),
      Has<FileReadFailed>("Read file operation failed", -1967362030),
      Has<DeserializationError>("Failed to deserialize", -1967362028),
      Has<BufferOverflow>("Buffer overflowed", -1967362025),
      Has<AccessDenied>("Access denied: /srv/x", -1967362023, L"/srv/x"),
      Has<FileAlreadyExists>("File already exists", -1967362021),
      Has<InvalidLocale>("Invalid locale", -1967362012),
      Has<InvalidSequence>("Invalid UTF8 encoding sequence", -1967362000),
      Has<UnableToConvert>("Unable to convert.", -1967361996),
      Has<OSException>("Unknown error", 42),
      Has<OSException>("text", 42, "text", 2U),
      Has<PosixError>("text", 0, "text", 0),
      Has<PosixError>("text", 7, "text", 2),
      Has<PosixError>("text", 42, "text", 13),
      Has<PosixError>("text", 42, "text", -43),
      Has<CarbonError>("Unknown error code", 0, short{0}),
      Has<CarbonError>("Unknown error code", 7, short{-43}),
      Has<CarbonError>("Unknown error code", 42, short{2}),
      Has<CarbonError>("Unknown error code", 42, short{43}),
      Has<CarbonError>("text", 7, "text", short{-43}),
  };
}

}  // namespace qv::tests
