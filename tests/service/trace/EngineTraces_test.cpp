#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdio>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <thread>
#include <vector>

#include "tests/doubles/engine/EngineJournal.h"
#include "tests/doubles/openssl/OpensslDouble.h"

// The library as it is shipped, loaded as a host does, with a trace engine beside it: what an
// operator gets to read.

namespace qv::tests {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Lines = std::vector<std::string>;

constexpr const char* kEveryTag =
    "RefCount : 1 : yes\nInitializer : 4 : yes\nCertificate : 5 : yes\nCertCreator : 6 : yes\n";

/// The beginning of every record of this thread.
std::string Head() {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%lX", static_cast<unsigned long>(pthread_self()));
  return std::string("t=") + digits + " | ";
}

class EngineTraces : public testing::Test {
 protected:
  EngineTraces() {
    Journal::instance().setLockCount(0);  // OpenSSL's own locking would come in between
    installation_.directory().makeDirectory("trace");
    const std::string directory = installation_.directory().path("trace");
    engine_.script.configDirectory.assign(directory.begin(), directory.end());
  }

  void installEngine(const std::string& kind = "good") const {
    std::filesystem::copy_file(QV_ENGINE_DOUBLES "/" + kind + "/" QV_ENGINE_FILE,
                               installation_.directory().path("lib/" QV_ENGINE_FILE));
  }
  void writeTags(const std::string& contents) const {
    installation_.directory().write("trace/qvsslinit.cfg", contents);
  }
  void writeCertificate() const {
    installation_.directory().makeDirectory("data/certstore/server_certs");
    installation_.directory().write("data/certstore/server_certs/server_0.cer");
  }

  Installation installation_;
  EngineJournal& engine_ = EngineJournal::instance();
};

/// Spells records out: "+initialize" is the entry to the operation of the singleton, "-*seedPRNG"
/// the exit from that of the certificate creator, "=" both; anything else follows the head.
Lines Spelled(std::initializer_list<std::string> records) {
  Lines spelled;
  for (const std::string& record : records) {
    const char kind = record.at(0);
    if (kind != '+' && kind != '-' && kind != '=') {
      spelled.push_back(Head() + "qvsslinit | " + record);
      continue;
    }
    const bool ofCreator = record.at(1) == '*';
    const std::string line =
        Head() + "qvsslinit | " +
        (ofCreator ? "CertCreator | DefaultCertCreator::" + record.substr(2)
                   : "Initializer | SslInitializerImplementation::" + record.substr(1));
    if (kind != '-') spelled.push_back(line + " | In");
    if (kind != '+') spelled.push_back(line + " | Out");
  }
  return spelled;
}

TEST_F(EngineTraces, TellOfAnInitFromItsBeginningToItsEnd) {
  installEngine();
  writeTags(kEveryTag);
  writeCertificate();
  ASSERT_NE(installation_.init(), nullptr);
  const std::string store = installation_.inStore("");
  const std::string where = "Certificate | DefaultCertCreator::createDirIfDoesNotExist | ";
  EXPECT_THAT(
      engine_.records(),
      ElementsAreArray(Spelled(
          {"+initialize",
           "+initializeOpenSSL",
           "=loadFunctionPointers",
           "-initializeOpenSSL",
           "-initialize",
           "+createDefaultSelfSignedCertificateIfNeeded",
           "+*createDefaultSelfSignedCertificateIfNeeded",
           "+*DefaultCertCreator",
           "=*seedPRNG",
           "+*createCertificateDirectoriesIfNeeded",
           "+*createDirIfDoesNotExist",
           where + "Dir already exists at '" + store + "'",
           "-*createDirIfDoesNotExist",
           "+*createDirIfDoesNotExist",
           where + "Dir already exists at '" + store + "server_certs/'",
           "-*createDirIfDoesNotExist",
           "+*createDirIfDoesNotExist",
           where + "Created directory at '" + store + "open_csrs/'",
           "-*createDirIfDoesNotExist",
           "+*createDirIfDoesNotExist",
           where + "Created directory at '" + store + "temp/'",
           "-*createDirIfDoesNotExist",
           "-*createCertificateDirectoriesIfNeeded",
           "+*defaultCertificateExists",
           "Certificate | DefaultCertCreator::defaultCertificateExists | Default Certificate "
           "exists at '" +
               store + "server_certs/server_0.cer'",
           "-*defaultCertificateExists",
           "Certificate | DefaultCertCreator::DefaultCertCreator | Default certificate already "
           "existed",
           "-*DefaultCertCreator",
           "=*~DefaultCertCreator",
           "-*createDefaultSelfSignedCertificateIfNeeded",
           "-createDefaultSelfSignedCertificateIfNeeded",
           "+LoadLibrary",
           "RefCount | SslInitializerImplementation::LoadLibrary | returning status=ok, handle=1, "
           "refCount_=1",
           "-LoadLibrary"})));
}

TEST_F(EngineTraces, TellOfTheUnloadingAndGoOnAfterwards) {
  installEngine();
  writeTags(kEveryTag);
  QvSslInitHandle* handle = installation_.init();
  ASSERT_NE(handle, nullptr);
  engine_.clear();
  installation_.uninit(handle);
  const std::string release = "RefCount | SslInitializerImplementation::ReleaseLibrary | ";
  EXPECT_THAT(engine_.records(),
              ElementsAreArray(Spelled({"+ReleaseLibrary", "=destroyObjects",
                                        release + "refCount_ became zero, so unloading SSL "
                                                  "libraries",
                                        release + "returning status=ok, handle=1, refCount_=0",
                                        "-ReleaseLibrary"})));
  // The logger lives as long as the process.
  EXPECT_THAT(engine_.lines(), Not(Contains("release")));
  engine_.clear();
  ASSERT_NE(installation_.init(), nullptr);
  EXPECT_THAT(engine_.lines(), Not(Contains(StartsWith("GetInterface"))));
  EXPECT_THAT(engine_.records(), Not(IsEmpty()));
}

TEST_F(EngineTraces, HoldOneReferenceToTheEngineAllTheTime) {
  installEngine();
  installation_.uninit(installation_.init());
  installation_.uninit(installation_.init());
  EXPECT_EQ(engine_.count("addRef") - engine_.count("release"), 1u);
  EXPECT_EQ(engine_.count("GetInterface(0) at 80004005"), 1u);
}

TEST_F(EngineTraces, ComeUnderTheTagsThatAreOnAlone) {
  installEngine();
  writeTags("RefCount : 1 : yes\nInitializer : 4 : no\nCertificate : 5\n");
  ASSERT_NE(installation_.init(), nullptr);
  EXPECT_THAT(engine_.records(),
              ElementsAreArray(Spelled({"RefCount | SslInitializerImplementation::LoadLibrary | "
                                        "returning status=ok, handle=1, refCount_=1"})));
}

TEST_F(EngineTraces, TellWhyAnInitGaveNothingWithoutAnyTag) {
  installEngine();
  installation_.hide(Installation::kCryptoFile, "X509_new");
  EXPECT_EQ(installation_.init(), nullptr);
  EXPECT_THAT(engine_.records(),
              Contains(Head() + "ERROR | qvsslinit | "
                                "SslInitializerImplementation::loadFunctionPointers | Failed to "
                                "load a function pointer.  One of the DLLs may be missing."));
  EXPECT_THAT(engine_.records(), Each(StartsWith(Head() + "ERROR | qvsslinit | ")));
}

TEST_F(EngineTraces, BearNoTagNamesWhereTheEngineWantsNone) {
  installEngine();
  engine_.script.showTagNames = false;
  writeTags("RefCount : 1 : yes\n");
  ASSERT_NE(installation_.init(), nullptr);
  EXPECT_THAT(engine_.records(),
              ElementsAre(Head() + "qvsslinit | SslInitializerImplementation::LoadLibrary | "
                                   "returning status=ok, handle=1, refCount_=1"));
}

TEST_F(EngineTraces, AreNoneWithoutAnEngineAndTheServiceIsTheSame) {
#ifdef QV_ENGINE_ON_THE_PATH
  // The engine is found anyway, for a sanitizer does not look beside the library.
  engine_.script.entryCode = -1;
#endif
  writeTags(kEveryTag);
  QvSslInitHandle* handle = installation_.init();
  ASSERT_NE(handle, nullptr);
  EXPECT_TRUE(installation_.storeHas("server_certs/server_0.cer"));
  installation_.uninit(handle);
  EXPECT_THAT(engine_.records(), IsEmpty());
}

TEST_F(EngineTraces, OfAnEngineThatCallsInitWhileItIsLoadedBeginAllTheSame) {
  installEngine();
  writeTags(kEveryTag);
  writeCertificate();
  static Installation* host;
  static void* nested;
  host = &installation_;
  nested = this;
  engine_.script.onEntry = [] { nested = host->init(); };
  EXPECT_NE(installation_.init(), nullptr);
  EXPECT_EQ(nested, nullptr) << "the Init within failed";
  EXPECT_EQ(engine_.count("GetInterface(0) at 80004005"), 1u);
  EXPECT_THAT(engine_.records(),
              Contains(HasSubstr("LoadLibrary | returning status=ok, handle=1")));
  EXPECT_NE(installation_.init(), nullptr);
}

TEST_F(EngineTraces, OfAnEngineThatThrowsAllTheTimeDoNoHarm) {
  for (const char* operation : {"getFreeBlock", "sendBlock"}) {
    engine_.script.throwsIn = operation;
    if (!installation_.directory().has("lib/" QV_ENGINE_FILE)) installEngine();
    writeTags(kEveryTag);
    QvSslInitHandle* handle = installation_.init();
    ASSERT_NE(handle, nullptr);
    installation_.uninit(handle);
    EXPECT_GT(engine_.count("forgotten"), 0u);
    engine_.clear();
  }
}

TEST_F(EngineTraces, ComeFromAllThreadsThatUseTheService) {
  installEngine();
  writeTags("RefCount : 1 : yes\n");
  static constexpr int kThreads = 4;
  static constexpr int kRounds = 25;
  // Holds the service, so that no round unloads it.
  ASSERT_NE(installation_.init(), nullptr);
  engine_.clear();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([this] {
      for (int round = 0; round < kRounds; ++round)
        installation_.uninit(installation_.init());
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_THAT(engine_.records(), testing::SizeIs(2 * kThreads * kRounds));
  EXPECT_THAT(engine_.records(),
              Each(testing::HasSubstr(" | qvsslinit | RefCount | SslInitializerImplementation::")));
}

}  // namespace
}  // namespace qv::tests
