#include "source/PemFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include "tests/doubles/StagedSystemCalls.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace qvsslinit {
namespace {

TEST(PemFileDescriptorTest, IsNotInheritedByAProgramThatIsExecutedMeanwhile) {
  const qv::tests::TemporaryDirectory directory;
  directory.write("key");
  const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  ::close(next);
  int flags = -1;
  {
    qv::tests::StagedSystemCalls calls;
    calls.before(qv::tests::SystemCall::Read, [&] { flags = ::fcntl(next, F_GETFD); });
    EXPECT_TRUE(IsPemFileLost(directory.path("key").c_str(), kPemRsaKey));
  }
  EXPECT_EQ(flags, FD_CLOEXEC);
}

}  // namespace
}  // namespace qvsslinit
