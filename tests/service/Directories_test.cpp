#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/doubles/openssl/OpensslDouble.h"

namespace qv::tests {
namespace {

using testing::ElementsAre;

constexpr const char* kNotCreated =
    "ERROR | DefaultCertCreator::createDirIfDoesNotExist | Could not create dir at '";

/// Where a file has the name of one of the store's directories.
class Directories : public testing::Test {
 protected:
  bool isDirectory(const std::string& name) const {
    return std::filesystem::is_directory(installation_.inStore(name));
  }

  Installation installation_;
  TraceRecords traces_{installation_.traceSink()};
};

TEST_F(Directories, AreNotMadeWhereAFileHasTheNameOfTheStore) {
  installation_.directory().write("data/certstore", "a file");
  EXPECT_NE(installation_.init(), nullptr);
  const std::string store = installation_.inStore("");
  EXPECT_THAT(traces_.under("ERROR"),
              ElementsAre(kNotCreated + store + "'", kNotCreated + store + "server_certs/'",
                          kNotCreated + store + "open_csrs/'", kNotCreated + store + "temp/'",
                          "ERROR | DefaultCertCreator::saveKeyToFile | Could not create '" + store +
                              "server_certs/server_0.key' to write key to disk"));
  EXPECT_EQ(installation_.directory().read("data/certstore"), "a file");
}

TEST_F(Directories, AreMadeAllTheSameBesideOneWhoseNameAFileHas) {
  installation_.directory().makeDirectory("data/certstore");
  installation_.directory().write("data/certstore/open_csrs", "a file");
  EXPECT_NE(installation_.init(), nullptr);
  EXPECT_THAT(traces_.under("ERROR"),
              ElementsAre(kNotCreated + installation_.inStore("open_csrs/'")));
  EXPECT_EQ(installation_.readStore("open_csrs"), "a file");
  EXPECT_TRUE(isDirectory("server_certs"));
  EXPECT_TRUE(isDirectory("temp"));
  EXPECT_TRUE(installation_.storeHas("server_certs/server_0.key"));
  EXPECT_TRUE(installation_.storeHas("server_certs/server_0.cer"));
}

}  // namespace
}  // namespace qv::tests
