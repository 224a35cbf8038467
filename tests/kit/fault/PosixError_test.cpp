#include "kit/exception/PosixError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tests/doubles/FailingAllocator.h"

namespace {

using qv::kit::osdep::PosixError;
using qv::tests::FailingAllocator;

TEST(PosixError, ReadsErrnoOnceBeforeTheMemoryForItsTextChangesIt) {
  const std::string text = std::strerror(ENOENT);
  FailingAllocator allocator;
  allocator.SetErrno(ENOMEM);
  errno = ENOENT;
  const PosixError error;
  EXPECT_EQ(error.whatcode(), static_cast<std::uint32_t>(ENOENT));
  EXPECT_EQ(error.what(), text);
  EXPECT_EQ(errno, ENOMEM) << "no memory was taken";
}

}  // namespace
