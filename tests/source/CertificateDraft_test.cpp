#include "source/CertificateDraft.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "tests/doubles/NoDescriptors.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace qvsslinit {
namespace {

using qv::kit::String;

const std::string kBegin = "-----BEGIN CERTIFICATE-----\n";
const std::string kWhole = kBegin + "AAAA\n-----END CERTIFICATE-----\n";

class CertificateDraftTest : public testing::Test {
 protected:
  CertificateDraftTest() { directory_.makeDirectory("temp"); }

  void write(const std::string& contents) const { directory_.write("certificate", contents); }
  /// What an administrator does who moves a file of their own there.
  void replace(const std::string& contents) const {
    directory_.write("own", contents);
    std::filesystem::rename(directory_.path("own"), file_.c_str());
  }
  std::string read() const { return directory_.read("certificate"); }
  bool exists() const { return directory_.has("certificate"); }
  bool hasSecondName() const { return directory_.has("temp/second"); }

  /// What a process leaves that is killed after it has written so much.
  void leave(const std::string& contents) const {
    directory_.write("temp/second", contents);
    std::filesystem::create_hard_link(directory_.path("temp/second"), file_.c_str());
  }
  bool removeLeftover() const { return CertificateDraft::RemoveLeftover(file_, secondName_); }

  qv::tests::TemporaryDirectory directory_;
  const String file_{directory_.path("certificate").c_str()};
  const String secondName_{directory_.path("temp/second").c_str()};
};

TEST_F(CertificateDraftTest, IsOneEmptyFileUnderTwoNames) {
  const CertificateDraft draft(file_, secondName_);
  EXPECT_EQ(read(), "");
  EXPECT_TRUE(std::filesystem::equivalent(file_.c_str(), secondName_.c_str()));
}

TEST_F(CertificateDraftTest, HasTheModeThatTheProcessGivesNewFiles) {
  ::umask(0027);
  const CertificateDraft draft(file_, secondName_);
  EXPECT_EQ(directory_.permissions("certificate"), 0640u);
}

TEST_F(CertificateDraftTest, LeavesAWholeFileUnderOneName) {
  {
    CertificateDraft draft(file_, secondName_);
    write(kWhole);
    EXPECT_TRUE(draft.finish());
  }
  EXPECT_EQ(read(), kWhole);
  EXPECT_FALSE(hasSecondName());
}

TEST_F(CertificateDraftTest, LeavesNothingOfAFileThatIsNotWhole) {
  for (const std::string& cut : {std::string(), kBegin, kWhole.substr(0, kWhole.size() - 1)}) {
    {
      CertificateDraft draft(file_, secondName_);
      write(cut);
      EXPECT_FALSE(draft.finish()) << cut;
    }
    EXPECT_FALSE(exists()) << cut;
    EXPECT_FALSE(hasSecondName()) << cut;
  }
}

TEST_F(CertificateDraftTest, LeavesNothingOfAWholeFileThatWasNotFinished) {
  {
    const CertificateDraft draft(file_, secondName_);
    write(kWhole);
  }
  EXPECT_FALSE(exists());
}

TEST_F(CertificateDraftTest, LeavesAFileThatWasThereBefore) {
  write("somebody else's");
  {
    CertificateDraft draft(file_, secondName_);
    EXPECT_FALSE(hasSecondName());
    EXPECT_FALSE(draft.finish());
  }
  EXPECT_EQ(read(), "somebody else's");
}

TEST_F(CertificateDraftTest, LeavesAFileThatSomebodyPutsInItsPlace) {
  for (const std::string& other :
       {kWhole, kWhole + "and more", std::string("\x30\x82, in another form"), kBegin}) {
    {
      CertificateDraft draft(file_, secondName_);
      replace(other);
      EXPECT_TRUE(draft.finish());
    }
    EXPECT_EQ(read(), other);
    EXPECT_FALSE(hasSecondName());
    std::filesystem::remove(file_.c_str());
  }
}

TEST_F(CertificateDraftTest, LeavesAFileThatSomebodyPutsInItsPlaceWhenItWasNotFinished) {
  {
    const CertificateDraft draft(file_, secondName_);
    replace("somebody else's");
  }
  EXPECT_EQ(read(), "somebody else's");
  EXPECT_FALSE(hasSecondName());
}

TEST_F(CertificateDraftTest, WithoutASecondNameLeavesAFileThatSomebodyPutsInItsPlace) {
  std::filesystem::remove(directory_.path("temp"));
  {
    const CertificateDraft draft(file_, secondName_);
    replace("somebody else's");
  }
  EXPECT_EQ(read(), "somebody else's");
}

TEST_F(CertificateDraftTest, LeavesWhatSomebodyPutsInPlaceOfItsSecondName) {
  {
    CertificateDraft draft(file_, secondName_);
    write(kWhole);
    directory_.write("other", "somebody else's");
    std::filesystem::rename(directory_.path("other"), secondName_.c_str());
    EXPECT_TRUE(draft.finish());
  }
  EXPECT_EQ(directory_.read("temp/second"), "somebody else's");
}

TEST_F(CertificateDraftTest, LeavesNoSecondNameOfAFileThatSomebodyRemoves) {
  {
    const CertificateDraft draft(file_, secondName_);
    std::filesystem::remove(file_.c_str());
  }
  EXPECT_FALSE(hasSecondName());
}

TEST_F(CertificateDraftTest, LeavesItsSecondNameWhereItCannotTellWhetherTheFileIsGone) {
  {
    const CertificateDraft draft(file_, secondName_);
    std::filesystem::rename(file_.c_str(), directory_.path("elsewhere"));
    std::filesystem::create_symlink("certificate", file_.c_str());
  }
  EXPECT_TRUE(hasSecondName());
}

TEST_F(CertificateDraftTest, IsNotMadeWhereItCouldNotBeOpenedAgain) {
  for (const std::string name : {"certificate", "elsewhere"}) {
    if (name == "elsewhere") directory_.makeLink("elsewhere", "certificate");
    const mode_t former = ::umask(0200);
    const CertificateDraft draft(file_, secondName_);
    ::umask(former);
    EXPECT_FALSE(directory_.has(name));
    EXPECT_FALSE(hasSecondName());
  }
  EXPECT_TRUE(std::filesystem::is_symlink(file_.c_str()));
}

TEST_F(CertificateDraftTest, GoesToTheEndOfALinkAndLeavesTheLink) {
  directory_.makeLink("elsewhere", "certificate");
  {
    CertificateDraft draft(file_, secondName_);
    EXPECT_FALSE(hasSecondName());
    write(kBegin);
    EXPECT_TRUE(directory_.has("elsewhere"));
    EXPECT_FALSE(draft.finish());
  }
  EXPECT_FALSE(directory_.has("elsewhere"));
  EXPECT_TRUE(std::filesystem::is_symlink(file_.c_str()));
}

TEST_F(CertificateDraftTest, DoesWithoutASecondNameWhereThereCanBeNone) {
  std::filesystem::remove(directory_.path("temp"));
  {
    CertificateDraft draft(file_, secondName_);
    EXPECT_EQ(read(), "");
    write(kBegin);
  }
  EXPECT_FALSE(exists());
  CertificateDraft draft(file_, secondName_);
  write(kWhole);
  EXPECT_TRUE(draft.finish());
}

TEST_F(CertificateDraftTest, LeavesASecondNameThatIsTaken) {
  directory_.write("temp/second", "somebody else's");
  {
    CertificateDraft draft(file_, secondName_);
    write(kWhole);
    EXPECT_TRUE(draft.finish());
  }
  EXPECT_EQ(directory_.read("temp/second"), "somebody else's");
}

TEST_F(CertificateDraftTest, LeavesAnEmptyFileOfSomebodyElseUnderItsSecondName) {
  directory_.write("temp/second", "");
  {
    CertificateDraft draft(file_, secondName_);
    write(kWhole);
    EXPECT_TRUE(draft.finish());
  }
  EXPECT_TRUE(directory_.has("temp/second"));
}

TEST_F(CertificateDraftTest, LeftUnfinishedIsRemoved) {
  for (const std::string& cut :
       {std::string(), kBegin.substr(0, 5), kBegin, kBegin + "AAAA\n-----END"}) {
    leave(cut);
    EXPECT_TRUE(removeLeftover());
    EXPECT_FALSE(exists());
    EXPECT_FALSE(hasSecondName());
  }
}

TEST_F(CertificateDraftTest, LeftWholeIsKept) {
  leave(kWhole);
  EXPECT_FALSE(removeLeftover());
  EXPECT_EQ(read(), kWhole);
  EXPECT_FALSE(hasSecondName());
}

TEST_F(CertificateDraftTest, LeftAndWrittenOverBySomebodyElseIsKept) {
  for (const std::string& other : {kWhole.substr(0, kWhole.size() - 1), kWhole + "and more",
                                   std::string("\x30\x82, in another form"), "key\n" + kBegin,
                                   kBegin + std::string(20000, 'A')}) {
    leave("");
    write(other);
    EXPECT_FALSE(removeLeftover());
    EXPECT_EQ(read(), other);
    EXPECT_FALSE(hasSecondName());
    std::filesystem::remove(file_.c_str());
  }
}

TEST_F(CertificateDraftTest, LeftWithoutItsFileIsRemovedAlone) {
  directory_.write("temp/second");
  write("somebody else's");
  EXPECT_FALSE(removeLeftover());
  EXPECT_EQ(read(), "somebody else's");
  EXPECT_FALSE(hasSecondName());
}

TEST_F(CertificateDraftTest, LeftWithAnotherCutOrEmptyFileInItsPlaceIsRemovedAlone) {
  for (const std::string& other : {std::string(), kBegin}) {
    directory_.write("temp/second", kBegin);
    write(other);
    EXPECT_FALSE(removeLeftover());
    EXPECT_EQ(read(), other);
    EXPECT_FALSE(hasSecondName());
  }
}

TEST_F(CertificateDraftTest, WithoutASecondNameIsNoLeftover) {
  write("");
  EXPECT_FALSE(removeLeftover());
  EXPECT_TRUE(exists());
}

TEST_F(CertificateDraftTest, LeftWhereItCannotBeReadIsLeftToALaterProcess) {
  leave(kBegin);
  const String& file = file_;
  const String& secondName = secondName_;
  {
    const qv::tests::NoDescriptors none;
    EXPECT_FALSE(CertificateDraft::RemoveLeftover(file, secondName));
  }
  EXPECT_TRUE(hasSecondName());
  EXPECT_TRUE(removeLeftover());
  EXPECT_FALSE(exists());
}

TEST_F(CertificateDraftTest, UnderASecondNameThatIsALinkIsNoLeftover) {
  write("");
  directory_.makeLink(directory_.path("certificate"), "temp/second");
  EXPECT_FALSE(removeLeftover());
  EXPECT_TRUE(exists());
  EXPECT_TRUE(hasSecondName());
}

}  // namespace
}  // namespace qvsslinit
