#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "tests/doubles/openssl/OpensslDouble.h"

// Which scopes the library traces, in which order, and how traces and calls of OpenSSL follow one
// another. FirstInit, Handles and the tests of failures see to the messages.

namespace qv::tests {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

bool EndsIn(const std::string& text, const std::string& end) {
  return text.size() >= end.size() &&
         text.compare(text.size() - end.size(), std::string::npos, end) == 0;
}

bool IsScope(const std::string& record) {
  return EndsIn(record, " | In") || EndsIn(record, " | Out");
}

/// The records that keep says yes to.
template <typename Keep>
Lines Only(const Lines& records, Keep keep) {
  Lines kept;
  std::copy_if(records.begin(), records.end(), std::back_inserter(kept), keep);
  return kept;
}

/// Entries and exits under whatever tag.
Lines Scopes(const TraceRecords& traces) {
  return Only(traces.all(), IsScope);
}

/// Spells records out: "+4 LoadLibrary" is the entry to the operation of the singleton, "-6
/// seedPRNG" the exit from that of the certificate creator, "=6 seedPRNG" both. Everything else
/// stays as it is.
Lines Spelled(std::initializer_list<std::string> records) {
  Lines spelled;
  for (const std::string& record : records) {
    const char kind = record.at(0);
    if (kind != '+' && kind != '-' && kind != '=') {
      spelled.push_back(record);
      continue;
    }
    const std::string tag = record.substr(1, 1);
    const std::string owner =
        tag == "4" ? "SslInitializerImplementation::" : "DefaultCertCreator::";
    const std::string line = tag + " | " + owner + record.substr(3);
    if (kind != '-') spelled.push_back(line + " | In");
    if (kind != '+') spelled.push_back(line + " | Out");
  }
  return spelled;
}

class Traces : public testing::Test {
 protected:
  Traces() { journal_.setLockCount(0); }  // OpenSSL's own locking would come in between

  void expectScopes(std::initializer_list<std::string> scopes) {
    EXPECT_THAT(Scopes(traces_), ElementsAreArray(Spelled(scopes)));
    traces_.clear();
  }

  /// The records of the certificate creator.
  Lines ofCreator() const {
    return Only(traces_.all(),
                [](const std::string& record) { return record[0] == '5' || record[0] == '6'; });
  }

  void writeCertificate() const {
    installation_.directory().makeDirectory("data/certstore/server_certs");
    installation_.directory().write("data/certstore/server_certs/server_0.cer");
  }

  Installation installation_;
  TraceRecords traces_{installation_.traceSink()};
  Journal& journal_ = Journal::instance();
};

TEST_F(Traces, TellHowTheCertificateCameToBeStepByStep) {
  ASSERT_NE(installation_.init(), nullptr);
  const std::string store = installation_.inStore("");
  const std::string created =
      "5 | DefaultCertCreator::createDirIfDoesNotExist | Created directory at '" + store;
  EXPECT_THAT(
      ofCreator(),
      ElementsAreArray(Spelled(
          {"+6 createDefaultSelfSignedCertificateIfNeeded",
           "+6 DefaultCertCreator",
           "=6 seedPRNG",
           "+6 createCertificateDirectoriesIfNeeded",
           "+6 createDirIfDoesNotExist",
           created + "'",
           "-6 createDirIfDoesNotExist",
           "+6 createDirIfDoesNotExist",
           created + "server_certs/'",
           "-6 createDirIfDoesNotExist",
           "+6 createDirIfDoesNotExist",
           created + "open_csrs/'",
           "-6 createDirIfDoesNotExist",
           "+6 createDirIfDoesNotExist",
           created + "temp/'",
           "-6 createDirIfDoesNotExist",
           "-6 createCertificateDirectoriesIfNeeded",
           "+6 defaultCertificateExists",
           "5 | DefaultCertCreator::defaultCertificateExists | Default Certificate does not exist "
           "at '" +
               store + "server_certs/server_0.cer'",
           "-6 defaultCertificateExists",
           "+6 createSelfSignedCertificate",
           "=6 generateNewRsaKey",
           "=6 saveKeyToFile",
           "=6 saveX509ToFile",
           "5 | DefaultCertCreator::createSelfSignedCertificate | Succeeded",
           "-6 createSelfSignedCertificate",
           "5 | DefaultCertCreator::DefaultCertCreator | Creation succeeded for default "
           "certificate",
           "-6 DefaultCertCreator",
           "=6 ~DefaultCertCreator",
           "-6 createDefaultSelfSignedCertificateIfNeeded"})));
}

TEST_F(Traces, TellHowTheCertificateWasFoundStepByStep) {
  writeCertificate();
  ASSERT_NE(installation_.init(), nullptr);
  const std::string store = installation_.inStore("");
  const std::string where = "5 | DefaultCertCreator::createDirIfDoesNotExist | ";
  EXPECT_THAT(
      ofCreator(),
      ElementsAreArray(Spelled(
          {"+6 createDefaultSelfSignedCertificateIfNeeded",
           "+6 DefaultCertCreator",
           "=6 seedPRNG",
           "+6 createCertificateDirectoriesIfNeeded",
           "+6 createDirIfDoesNotExist",
           where + "Dir already exists at '" + store + "'",
           "-6 createDirIfDoesNotExist",
           "+6 createDirIfDoesNotExist",
           where + "Dir already exists at '" + store + "server_certs/'",
           "-6 createDirIfDoesNotExist",
           "+6 createDirIfDoesNotExist",
           where + "Created directory at '" + store + "open_csrs/'",
           "-6 createDirIfDoesNotExist",
           "+6 createDirIfDoesNotExist",
           where + "Created directory at '" + store + "temp/'",
           "-6 createDirIfDoesNotExist",
           "-6 createCertificateDirectoriesIfNeeded",
           "+6 defaultCertificateExists",
           "5 | DefaultCertCreator::defaultCertificateExists | Default Certificate exists at '" +
               store + "server_certs/server_0.cer'",
           "-6 defaultCertificateExists",
           "5 | DefaultCertCreator::DefaultCertCreator | Default certificate already existed",
           "-6 DefaultCertCreator",
           "=6 ~DefaultCertCreator",
           "-6 createDefaultSelfSignedCertificateIfNeeded"})));
}

TEST_F(Traces, OfTheFirstInitBeginWithTheStartAndEndWithTheHandle) {
  writeCertificate();
  ASSERT_NE(installation_.init(), nullptr);
  expectScopes({"+4 initialize",
                "+4 initializeOpenSSL",
                "=4 loadFunctionPointers",
                "-4 initializeOpenSSL",
                "-4 initialize",
                "+4 createDefaultSelfSignedCertificateIfNeeded",
                "+6 createDefaultSelfSignedCertificateIfNeeded",
                "+6 DefaultCertCreator",
                "=6 seedPRNG",
                "+6 createCertificateDirectoriesIfNeeded",
                "=6 createDirIfDoesNotExist",
                "=6 createDirIfDoesNotExist",
                "=6 createDirIfDoesNotExist",
                "=6 createDirIfDoesNotExist",
                "-6 createCertificateDirectoriesIfNeeded",
                "=6 defaultCertificateExists",
                "-6 DefaultCertCreator",
                "=6 ~DefaultCertCreator",
                "-6 createDefaultSelfSignedCertificateIfNeeded",
                "-4 createDefaultSelfSignedCertificateIfNeeded",
                "=4 LoadLibrary"});
}

TEST_F(Traces, OfALaterInitAreThoseOfTheHandleAlone) {
  ASSERT_NE(installation_.init(), nullptr);
  traces_.clear();
  ASSERT_NE(installation_.init(), nullptr);
  expectScopes({"=4 LoadLibrary"});
}

TEST_F(Traces, OfAnInitThatStartsAgainHaveTheStartInsideThoseOfTheHandle) {
  installation_.uninit(installation_.init());
  traces_.clear();
  ASSERT_NE(installation_.init(), nullptr);
  expectScopes({"+4 LoadLibrary", "+4 initialize", "+4 initializeOpenSSL",
                "=4 loadFunctionPointers", "-4 initializeOpenSSL", "-4 initialize",
                "-4 LoadLibrary"});
}

TEST_F(Traces, OfAnInitWithoutOpensslEndWhereItIsMissed) {
  installation_.removeOpenssl();
  EXPECT_EQ(installation_.init(), nullptr);
  expectScopes({"=4 initialize"});
  EXPECT_EQ(installation_.init(), nullptr);
  expectScopes({"+4 LoadLibrary", "=4 initialize", "-4 LoadLibrary"});
}

TEST_F(Traces, OfUninitHaveTheUnloadingInsideTheLast) {
  QvSslInitHandle* first = installation_.init();
  QvSslInitHandle* second = installation_.init();
  traces_.clear();
  installation_.uninit(first);
  expectScopes({"=4 ReleaseLibrary"});
  installation_.uninit(second);
  expectScopes({"+4 ReleaseLibrary", "=4 destroyObjects", "-4 ReleaseLibrary"});
}

/// What OpenSSL calls back: each test sees all records that its calls make.
class CallbackTraces : public Traces {
 protected:
  CallbackTraces() {
    journal_.setLockCount(1);
    QvSslInitHandle* handle = installation_.init();
    EXPECT_NE(handle, nullptr);
    callbacks_ = journal_.callbacks();
    traces_.clear();
  }

  void expectAll(std::initializer_list<std::string> records) {
    EXPECT_THAT(traces_.all(), ElementsAreArray(Spelled(records)));
    traces_.clear();
  }

  Journal::Callbacks callbacks_;
};

TEST_F(CallbackTraces, OfTheStaticLocks) {
  callbacks_.locking(1, 0, "", 0);
  expectAll({"=4 xlock"});
  callbacks_.locking(2, 0, "", 0);
  expectAll({"=4 xlock"});
}

TEST_F(CallbackTraces, OfTheLocksOfTheRunTime) {
  CRYPTO_dynlock_value* lock = callbacks_.dynlockCreate("", 0);
  expectAll({"=4 xdynlockCreate"});
  callbacks_.dynlockLock(1, lock, "", 0);
  expectAll({"=4 xdynlock"});
  callbacks_.dynlockLock(2, lock, "", 0);
  expectAll({"=4 xdynlock"});
  callbacks_.dynlockDestroy(lock, "", 0);
  expectAll({"=4 xdynlockDestroy"});
  callbacks_.dynlockDestroy(nullptr, "", 0);
  expectAll({"=4 xdynlockDestroy"});
}

TEST_F(CallbackTraces, OfTheThreadIdentityAreNone) {
  callbacks_.id();
  EXPECT_THAT(traces_.all(), IsEmpty());
}

/// Traces and calls in one list.
class TracesAmongCalls : public testing::Test {
 protected:
  TracesAmongCalls() {
    journal_.setLockCount(0);
    installation_.traceSink()([](const char* record, void*) { Journal::instance().note(record); },
                              nullptr);
  }

  Lines linesButScopes() const {
    return Only(journal_.lines(), [](const std::string& line) { return !IsScope(line); });
  }

  Installation installation_;
  Journal& journal_ = Journal::instance();
};

TEST_F(TracesAmongCalls, TellOfTheUnloadingWhenItIsDone) {
  QvSslInitHandle* handle = installation_.init();
  journal_.clearLines();
  installation_.uninit(handle);
  EXPECT_THAT(
      journal_.lines(),
      ElementsAreArray(Spelled(
          {"+4 ReleaseLibrary", "+4 destroyObjects", "unload libeay32.dylib",
           "unload libssleay32.dylib", "-4 destroyObjects",
           "1 | SslInitializerImplementation::ReleaseLibrary | refCount_ became zero, so unloading "
           "SSL libraries",
           "1 | SslInitializerImplementation::ReleaseLibrary | returning status=ok, handle=1, "
           "refCount_=0",
           "-4 ReleaseLibrary"})));
}

TEST_F(TracesAmongCalls, TellOfAFailureWhenEverythingIsCleanedUp) {
  journal_.fail("X509_sign");
  ASSERT_NE(installation_.init(), nullptr);
  const Lines lines = linesButScopes();
  const auto sign = std::find(lines.begin(), lines.end(), "X509_sign(x509-1, key-1, sha1)");
  ASSERT_NE(sign, lines.end());
  const std::string detail = "'Error signing new certificate'";
  EXPECT_THAT(
      Lines(sign + 1, lines.end()),
      ElementsAre(
          "EVP_PKEY_free(key-1)", "X509_free(x509-1)",
          "5 | DefaultCertCreator::createSelfSignedCertificate | Failed.  detailedErrorInfo=" +
              detail,
          "5 | DefaultCertCreator::DefaultCertCreator | Creation failed for default certificate",
          "5 | DefaultCertCreator::DefaultCertCreator | certificate creation detailedErrorInfo "
          "is " +
              detail,
          "1 | SslInitializerImplementation::LoadLibrary | returning status=ok, handle=1, "
          "refCount_=1"));
}

TEST_F(TracesAmongCalls, TellOfASuccessWhenEverythingIsCleanedUp) {
  ASSERT_NE(installation_.init(), nullptr);
  const Lines lines = linesButScopes();
  const auto freed = std::find(lines.begin(), lines.end(), "X509_free(x509-1)");
  ASSERT_NE(freed, lines.end());
  EXPECT_EQ(*(freed - 1), "EVP_PKEY_free(key-1)");
  EXPECT_EQ(*(freed + 1), "5 | DefaultCertCreator::createSelfSignedCertificate | Succeeded");
}

TEST_F(TracesAmongCalls, TellOfAKeyThatCouldNotBeWrittenBeforeItsFileIsClosed) {
  journal_.fail("PEM_ASN1_write_bio");
  ASSERT_NE(installation_.init(), nullptr);
  const Lines lines = linesButScopes();
  const auto reason = std::find(lines.begin(), lines.end(), "ERR_reason_error_string(218529960)");
  ASSERT_NE(reason, lines.end());
  EXPECT_EQ(*(reason + 1),
            "ERROR | DefaultCertCreator::saveKeyToFile | Failed to write key to disk "
            "err=218529960, errString='wrong tag'");
  EXPECT_EQ(*(reason + 2), "BIO_free(bio-1)");
}

}  // namespace
}  // namespace qv::tests
