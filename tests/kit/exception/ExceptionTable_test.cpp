#include <cxxabi.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "kit/AddFileAndLineInfo.h"
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
#include "tests/ScopedLocale.h"

namespace {

using namespace qv::kit::exception;
using qv::kit::String;
using qv::kit::WString;
using qv::kit::osdep::CarbonError;
using qv::kit::osdep::OSException;
using qv::kit::osdep::PosixError;

template <typename Class, typename Base>
void ExpectBase() {
  // Type information of a class with one public base; it names that base and no further one.
  const auto* const type = dynamic_cast<const abi::__si_class_type_info*>(&typeid(Class));
  ASSERT_NE(type, nullptr) << typeid(Class).name();
  EXPECT_EQ(*type->__base_type, typeid(Base)) << typeid(Class).name();
}

TEST(ExceptionTable, EveryClassHasItsOneDirectBase) {
  ExpectBase<Exception, std::exception>();
  ExpectBase<InvalidArgument, Exception>();
  ExpectBase<InvalidArgument2, InvalidArgument>();
  ExpectBase<OutOfRange, Exception>();
  ExpectBase<OutOfRange2, OutOfRange>();
  ExpectBase<BoundExceeded, Exception>();
  ExpectBase<BoundExceeded2, BoundExceeded>();
  ExpectBase<ObjectAlreadyExists, Exception>();
  ExpectBase<NonexistentException, Exception>();
  ExpectBase<InvalidOperation, Exception>();
  ExpectBase<FileWriteFailed, Exception>();
  ExpectBase<FileReadFailed, Exception>();
  ExpectBase<DeserializationError, Exception>();
  ExpectBase<BufferOverflow, Exception>();
  ExpectBase<AccessDenied, Exception>();
  ExpectBase<FileAlreadyExists, Exception>();
  ExpectBase<InvalidLocale, Exception>();
  ExpectBase<InvalidSequence, Exception>();
  ExpectBase<UnableToConvert, Exception>();
  ExpectBase<OSException, Exception>();
  ExpectBase<PosixError, OSException>();
  ExpectBase<CarbonError, OSException>();
}

struct Row {
  std::shared_ptr<Exception> exception;
  const char* what;
  std::int32_t code;
};

template <typename Class, typename... Arguments>
Row Has(const char* what, std::int32_t code, const Arguments&... arguments) {
  return {std::make_shared<Class>(arguments...), what, code};
}

std::vector<Row> Rows() {
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

TEST(ExceptionTable, EveryClassHasItsMessageAndItsCode) {
  for (const Row& row : Rows()) {
    EXPECT_STREQ(row.exception->what(), row.what);
    EXPECT_EQ(row.exception->getErrorCode(), row.code) << row.what;
  }
}

TEST(ExceptionTable, NoClassKnowsAPlaceBeforeItIsThrown) {
  for (const Row& row : Rows()) {
    EXPECT_EQ(row.exception->line(), 0U) << row.what;
    EXPECT_EQ(row.exception->file(), nullptr) << row.what;
  }
}

TEST(ExceptionTable, AThrownExceptionKeepsItsMessageAndCodeAndKnowsItsPlace) {
  std::uint32_t line = 0;
  try {
    line = __LINE__ + 1;
    QV_THROW(PosixError("gone", 2));
  } catch (const OSException& error) {
    EXPECT_STREQ(error.what(), "gone");
    EXPECT_EQ(error.whatcode(), 2U);
    EXPECT_EQ(error.getErrorCode(), 7);
    EXPECT_STREQ(error.file(), "tests/kit/exception/ExceptionTable_test.cpp");
    EXPECT_EQ(error.line(), line);
  }
}

template <typename Class>
void ExpectDeepCopies(const Class& first, const Class& second) {
  Class original(first);
  original.setFileAndLine("here", 12);
  const Class copy(original);
  EXPECT_STREQ(copy.what(), first.what());
  EXPECT_NE(copy.what(), original.what()) << "the text is shared";
  EXPECT_STREQ(copy.file(), "here");
  EXPECT_EQ(copy.line(), 12U);
  original = second;
  EXPECT_STREQ(original.what(), second.what());
  EXPECT_EQ(original.file(), nullptr);
  EXPECT_EQ(original.line(), 0U);
  EXPECT_STREQ(copy.what(), first.what());
}

TEST(ExceptionTable, CopiesOwnATextOfTheirOwn) {
  ExpectDeepCopies(OutOfRange2("a"), OutOfRange2("bcd"));
  ExpectDeepCopies(BoundExceeded2("a"), BoundExceeded2("bcd"));
  ExpectDeepCopies(InvalidArgument2("a"), InvalidArgument2("bcd"));
  ExpectDeepCopies(AccessDenied(L"a"), AccessDenied(L"bcd"));
  ExpectDeepCopies(OSException("a", 1), OSException("bcd", 2));
  ExpectDeepCopies(PosixError("a", 1), PosixError("bcd", 2));
  ExpectDeepCopies(CarbonError("a", 1), CarbonError("bcd", 2));
}

TEST(ExceptionTable, CopiesKeepTheCodeOfTheSystem) {
  PosixError error("a", 13);
  const PosixError copy(error);
  EXPECT_EQ(copy.whatcode(), 13U);
  error = PosixError("b", 2);
  EXPECT_EQ(error.whatcode(), 2U);
  EXPECT_EQ(error.getErrorCode(), 7);
}

TEST(ExceptionTable, AccessDeniedNamesAPathBeyondAsciiInTheEncodingOfTheLocale) {
  const ScopedLocale locale("C.UTF-8");
  EXPECT_STREQ(AccessDenied(L"/srv/\u00E9\u20AC").what(),
               "Access denied: /srv/\xC3\xA9\xE2\x82\xAC");
}

TEST(ExceptionTable, TheDetailMayBeEmpty) {
  EXPECT_STREQ(OutOfRange2("").what(), "Out of range: ");
}

}  // namespace
