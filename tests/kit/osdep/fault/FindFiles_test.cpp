#include "kit/osdep/FindFiles.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "kit/exception/PosixError.h"
#include "tests/doubles/StagedSystemCalls.h"

namespace {

using namespace qv::kit;
using namespace qv::kit::osdep;
using qv::tests::StagedSystemCalls;
using qv::tests::SystemCall;

std::uint32_t CodeOfSearch() {
  try {
    FindFiles::getFilenames(L"/*");
  } catch (const PosixError& error) {
    return error.whatcode();
  }
  return 0;
}

TEST(GetFilenamesFault, ASearchThatEndsEarlyThrowsPosixErrorFromErrno) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Glob, EIO);
  EXPECT_EQ(CodeOfSearch(), static_cast<std::uint32_t>(EIO));
}

TEST(GetFilenamesFault, ASearchThatRunsOutOfMemoryThrowsPosixErrorThoughErrnoIsNotTold) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Glob, ENOMEM);
  errno = 0;
  EXPECT_EQ(CodeOfSearch(), static_cast<std::uint32_t>(ENOMEM));
}

TEST(GetFilenamesFault, NoMatchIsNoErrorWhateverErrnoSays) {
  StagedSystemCalls staged;
  staged.fail(SystemCall::Glob, ENOENT);
  errno = EACCES;
  EXPECT_EQ(FindFiles::getFilenames(L"/*").size(), 0U);
}

}  // namespace
