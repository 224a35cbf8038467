#include "source/CertificateDraft.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/doubles/StagedSystemCalls.h"
#include "tests/doubles/TemporaryDirectory.h"

namespace qvsslinit {
namespace {

TEST(CertificateDraftRaceTest, LeavesAFileThatSomebodyPutsThereFirst) {
  for (const std::string other : {"", "somebody else's"}) {
    const qv::tests::TemporaryDirectory directory;
    const qv::kit::String file(directory.path("certificate").c_str());
    const qv::kit::String secondName(directory.path("second").c_str());
    {
      qv::tests::StagedSystemCalls calls;
      // When it has been seen that there is none, and before the second name is made.
      calls.before(qv::tests::SystemCall::Open, [&] { directory.write("certificate", other); });
      const CertificateDraft draft(file, secondName);
      EXPECT_FALSE(directory.has("second"));
    }
    EXPECT_EQ(directory.read("certificate"), other);
  }
}

}  // namespace
}  // namespace qvsslinit
