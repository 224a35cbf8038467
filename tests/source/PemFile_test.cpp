#include "source/PemFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/doubles/DeniedSystemCall.h"
#include "tests/doubles/InChild.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace qvsslinit {
namespace {

constexpr unsigned kNobody = 65534;
const std::string kWholeKey = std::string(kPemRsaKey.firstLine) + "AAAA\n" + kPemRsaKey.lastLine;

class PemFileTest : public testing::Test {
 protected:
  bool isLost() const { return IsPemFileLost(file_, kPemRsaKey); }

  /// The same where a system call fails.
  bool isLostWithout(unsigned systemCall, int error) const {
    return qv::tests::InChild([&] {
             qv::tests::DenySystemCall(systemCall, static_cast<unsigned>(error));
             return isLost() ? 1 : 0;
           }) == 1;
  }

  qv::tests::TemporaryDirectory directory_;
  const qv::kit::String file_{directory_.path("key").c_str()};
};

TEST_F(PemFileTest, IsLostWithoutItsEnd) {
  directory_.write("key", kWholeKey);
  EXPECT_FALSE(isLost());
  for (const std::string& cut : {std::string(), kWholeKey.substr(0, kWholeKey.size() - 1),
                                 std::string(kPemRsaKey.firstLine), std::string(20000, 'A')}) {
    directory_.write("key", cut);
    EXPECT_TRUE(isLost()) << cut;
  }
}

TEST_F(PemFileTest, IsNotLostWhereItIsADevice) {
  directory_.makeLink("/dev/null", "key");
  EXPECT_FALSE(isLost());
}

TEST_F(PemFileTest, IsNeitherLostNorWaitedForWhereItIsAPipe) {
  ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(qv::tests::InChild([this] {
              ::alarm(10);
              return isLost() ? 1 : 0;
            }),
            0);
}

TEST_F(PemFileTest, IsNotLostWhereItsOwnerMayNotReadIt) {
  directory_.write("key", kWholeKey.substr(0, 5));
  ASSERT_EQ(::chmod(file_.c_str(), 0200), 0);
  std::filesystem::permissions(directory_.path(), std::filesystem::perms::all);
  EXPECT_EQ(qv::tests::InChild([this] {
              if (::geteuid() == 0 && (::chown(file_.c_str(), kNobody, kNobody) != 0 ||
                                       ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) {
                return 2;
              }
              return isLost() ? 1 : 0;
            }),
            0);
}

TEST_F(PemFileTest, IsNotLostWhereItIsGone) {
  EXPECT_FALSE(isLost());
}

TEST_F(PemFileTest, IsLostWhenItDoesNotReachTheDisk) {
  directory_.write("key", kWholeKey);
  for (const int error : {EIO, ENOSPC})
    EXPECT_TRUE(isLostWithout(SYS_fsync, error)) << error;
}

TEST_F(PemFileTest, IsNotLostWhereItsFileSystemCannotBeWaitedFor) {
  directory_.write("key", kWholeKey);
  for (const int error : {EINVAL, ENOTSUP})
    EXPECT_FALSE(isLostWithout(SYS_fsync, error)) << error;
}

}  // namespace
}  // namespace qvsslinit
