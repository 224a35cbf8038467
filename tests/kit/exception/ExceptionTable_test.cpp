#include <cxxabi.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <typeinfo>

#include "kit/AddFileAndLineInfo.h"
#include "tests/ScopedLocale.h"
#include "tests/kit/exception/ExceptionRows.h"

namespace {

using namespace qv::kit::exception;
using qv::kit::osdep::CarbonError;
using qv::kit::osdep::OSException;
using qv::kit::osdep::PosixError;
using qv::tests::ExceptionRow;
using qv::tests::ExceptionRows;

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

TEST(ExceptionTable, EveryClassHasItsMessageAndItsCode) {
  for (const ExceptionRow& row : ExceptionRows()) {
    EXPECT_STREQ(row.exception->what(), row.what);
    EXPECT_EQ(row.exception->getErrorCode(), row.code) << row.what;
  }
}

TEST(ExceptionTable, NoClassKnowsAPlaceBeforeItIsThrown) {
  for (const ExceptionRow& row : ExceptionRows()) {
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
