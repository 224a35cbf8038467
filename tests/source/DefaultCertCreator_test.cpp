#include "source/DefaultCertCreator.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "source/client/ModuleLogger.h"
#include "source/client/MyTraceLogger.h"
#include "tests/doubles/DeniedSystemCall.h"
#include "tests/doubles/InChild.h"
#include "tests/doubles/NoDescriptors.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/TraceRecords.h"
#include "tests/doubles/openssl/Journal.h"
#include "tests/doubles/openssl/LoadedDouble.h"

// What the default certificate never asks for: the service tests see the rest.

namespace qv::tests {
namespace {

using qv::kit::StatusChain;
using qv::kit::String;
using qv::kit::WString;
using qvsslinit::DefaultCertCreator;
using qvsslinit::EVP_PKEY;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

struct Outcome {
  std::int32_t code;
  std::string detail;
};

/// What a server of files has on a file while one of its clients writes it: the system asks it to
/// let go when somebody else opens the file, and meanwhile refuses those who do not wait.
class WriteLease {
 public:
  explicit WriteLease(const std::string& file)
      : formerHandler_(std::signal(SIGIO, SIG_IGN)),
        descriptor_(::open(file.c_str(), O_RDWR | O_CLOEXEC)),
        error_(::fcntl(descriptor_, F_SETLEASE, F_WRLCK) == 0 ? 0 : errno) {}
  WriteLease(const WriteLease&) = delete;
  WriteLease& operator=(const WriteLease&) = delete;
  ~WriteLease() {
    ::close(descriptor_);
    std::signal(SIGIO, formerHandler_);
  }

  /// 0, or why there is none.
  int error() const { return error_; }

 private:
  void (*formerHandler_)(int);
  int descriptor_;
  int error_;
};

class DefaultCertCreatorTest : public testing::Test {
 protected:
  DefaultCertCreatorTest() {
    directory_.makeDirectory("certstore");
    directory_.makeDirectory("certstore/server_certs");
    ::setenv("QVPUBAPPDATADIR", directory_.path("").c_str(), 1);
    qvsslinit::g_pGLogger = &logger_;
    // A certificate that is there keeps the constructor from making one.
    directory_.write(kCertificate, "there");
    status_.clear();
    creator_ = std::make_unique<DefaultCertCreator>(openssl_.table(), openssl_.objects(), status_);
    std::filesystem::remove(directory_.path(kCertificate));
    journal_.clearLines();
    records_.clear();
  }
  ~DefaultCertCreatorTest() override {
    creator_.reset();
    qvsslinit::g_pGLogger = nullptr;
  }

  Outcome create(const WString& country, const WString& subjectAltName, std::int32_t days,
                 std::uint32_t serial) {
    String detail;
    creator_->createSelfSignedCertificate(country, L"TX", L"Brenford", L"Kestrix Works",
                                          L"Pellora Web Server", L"host", subjectAltName, days,
                                          serial, detail, status_);
    return {status_.code(), detail.c_str()};
  }

  /// In the middle of a call of OpenSSL's.
  void expectPairToStayThatIsPutThereIn(const char* call) {
    journal_.onCall(call, [this] {
      directory_.write(kKey, "their key");
      directory_.write(kCertificate, "their certificate");
    });
    const Outcome outcome = create(L"US", L"", 1, 0);
    EXPECT_EQ(outcome.code, -1);
    EXPECT_EQ(outcome.detail, "Somebody has put a certificate in place meanwhile");
    EXPECT_EQ(directory_.read(kKey), "their key");
    EXPECT_EQ(directory_.read(kCertificate), "their certificate");
    expectNothingLeftBehind();
  }

  static constexpr const char* kKey = "certstore/server_certs/server_0.key";
  static constexpr const char* kCertificate = "certstore/server_certs/server_0.cer";

  void expectNothingLeftBehind() {
    EXPECT_THAT(journal_.misuses(), IsEmpty());
    EXPECT_THAT(journal_.liveObjects(), IsEmpty());
  }

  Journal& journal_ = Journal::instance();
  TemporaryDirectory directory_;
  qv::traceengine::MyTraceLogger logger_{"qvsslinit"};
  qv::tests::TraceRecords records_;
  LoadedDouble openssl_;
  StatusChain status_;
  std::unique_ptr<DefaultCertCreator> creator_;
};

TEST_F(DefaultCertCreatorTest, SavingNoKeyIsAnErrorOfItsOwnWhateverTheStatus) {
  status_.set(-5);
  creator_->saveKeyToFile(nullptr, status_);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_THAT(records_.under("ERROR"),
              ElementsAre("ERROR | DefaultCertCreator::saveKeyToFile | null pKey parameter"));
}

TEST_F(DefaultCertCreatorTest, SavingNoCertificateIsAnErrorOfItsOwnWhateverTheStatus) {
  status_.set(-5);
  creator_->saveX509ToFile(nullptr, status_);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_THAT(records_.under("ERROR"),
              ElementsAre("ERROR | DefaultCertCreator::saveX509ToFile | null pX509 parameter"));
}

TEST_F(DefaultCertCreatorTest, SavingAfterAFailureWritesNothing) {
  EVP_PKEY* key = nullptr;
  creator_->generateNewRsaKey(&key, status_);
  auto* certificate = openssl_.table().X509_new();
  status_.set(-5);
  creator_->saveKeyToFile(key, status_);
  creator_->saveX509ToFile(certificate, status_);
  EXPECT_EQ(status_.code(), -5);
  EXPECT_THAT(journal_.linesOf("BIO_new_file"), IsEmpty());
  openssl_.table().X509_free(certificate);
  openssl_.table().EVP_PKEY_free(key);
  expectNothingLeftBehind();
}

TEST_F(DefaultCertCreatorTest, AKeyWithNowhereToGoFailsSilently) {
  creator_->generateNewRsaKey(nullptr, status_);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_THAT(records_.under("ERROR"), IsEmpty());
  EXPECT_THAT(journal_.lines(), IsEmpty());
}

TEST_F(DefaultCertCreatorTest, AKeyIsNotPutInPlaceOfAnother) {
  EVP_PKEY* const other = reinterpret_cast<EVP_PKEY*>(this);
  EVP_PKEY* key = other;
  creator_->generateNewRsaKey(&key, status_);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_EQ(key, other);
  EXPECT_THAT(records_.under("ERROR"), IsEmpty());
  EXPECT_THAT(journal_.lines(), IsEmpty());
}

TEST_F(DefaultCertCreatorTest, AfterAFailureNoCertificateIsMade) {
  status_.set(-5);
  EXPECT_EQ(create(L"US", L"", 1, 0).code, -5);
  EXPECT_THAT(journal_.lines(), IsEmpty());
}

TEST_F(DefaultCertCreatorTest, ASubjectAltNameBecomesAnExtensionBeforeKeyUsage) {
  EXPECT_EQ(create(L"US", L"DNS:host", 1, 0).code, 0);
  EXPECT_THAT(journal_.linesOf("X509V3_EXT_conf"),
              ElementsAre("X509V3_EXT_conf(null, null, \"subjectAltName\", \"DNS:host\")",
                          "X509V3_EXT_conf(null, null, \"keyUsage\", "
                          "\"digitalSignature,keyEncipherment\")"));
  expectNothingLeftBehind();
}

TEST_F(DefaultCertCreatorTest, ASubjectAltNameThatCannotBeMadeFails) {
  journal_.fail("X509V3_EXT_conf", 1);
  const Outcome outcome = create(L"US", L"DNS:host", 1, 0);
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(outcome.detail, "Error creating subjectAltName extension");
  expectNothingLeftBehind();
}

TEST_F(DefaultCertCreatorTest, ASubjectAltNameThatCannotBeAddedFailsAndIsFreed) {
  journal_.fail("X509_add_ext", 1);
  const Outcome outcome = create(L"US", L"DNS:host", 1, 0);
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(outcome.detail, "Error adding subjectAltName to the request");
  EXPECT_THAT(journal_.linesOf("X509_EXTENSION_free"), testing::SizeIs(1));
  expectNothingLeftBehind();
}

TEST_F(DefaultCertCreatorTest, AnEmptyFieldThatOpensslRefusesIsLeftOut) {
  journal_.fail("X509_NAME_add_entry_by_txt", 1);
  EXPECT_EQ(create(L"", L"", 1, 0).code, 0);
}

TEST_F(DefaultCertCreatorTest, ValidityIsCountedInDaysOf86400Seconds) {
  EXPECT_EQ(create(L"US", L"", 2, 0).code, 0);
  EXPECT_THAT(journal_.linesOf("X509_gmtime_adj"), Contains(testing::EndsWith(", 172800)")));
}

TEST_F(DefaultCertCreatorTest, ValidityThat32BitsOfSecondsCannotHoldFails) {
  EXPECT_EQ(create(L"US", L"", 24855, 0).code, 0);
  std::filesystem::remove(directory_.path(kCertificate));
  const Outcome outcome = create(L"US", L"", 24856, 0);
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(outcome.detail, "Error setting notAfter time");
}

TEST_F(DefaultCertCreatorTest, TheSerialNumberIsTheOneAskedFor) {
  EXPECT_EQ(create(L"US", L"", 1, 0x7FFFFFFF).code, 0);
  EXPECT_THAT(journal_.linesOf("ASN1_INTEGER_set"),
              ElementsAre(testing::EndsWith(", 2147483647)")));
}

TEST_F(DefaultCertCreatorTest, ASerialNumberThatALongCannotHoldFails) {
  const Outcome outcome = create(L"US", L"", 1, 0x80000000U);
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(outcome.detail, "Error setting serial number");
}

TEST_F(DefaultCertCreatorTest, AnExceptionOnTheWayFailsAndIsTracedWithWhatItSays) {
  journal_.onCall("X509_new", [] { throw std::runtime_error("no luck"); });
  const Outcome outcome = create(L"US", L"", 1, 0);
  EXPECT_EQ(outcome.code, -1);
  EXPECT_EQ(outcome.detail, "An exception was thrown");
  EXPECT_THAT(records_.under("ERROR"),
              ElementsAre("ERROR | DefaultCertCreator::createSelfSignedCertificate | "
                          "Exception: 'no luck'"));
  expectNothingLeftBehind();
}

TEST_F(DefaultCertCreatorTest, BuiltAfterAFailureDoesEverythingButMakeACertificate) {
  std::filesystem::remove_all(directory_.path("certstore"));
  status_.set(-5);
  const DefaultCertCreator other(openssl_.table(), openssl_.objects(), status_);
  EXPECT_EQ(status_.code(), -5);
  EXPECT_THAT(journal_.lines(), ElementsAre(testing::StartsWith("RAND_seed(")));
  const std::string store = directory_.path("") + "certstore/";
  const std::string created =
      "5 | DefaultCertCreator::createDirIfDoesNotExist | Created directory at '" + store;
  const std::string constructor = "5 | DefaultCertCreator::DefaultCertCreator | ";
  EXPECT_THAT(records_.under("5"),
              ElementsAre(created + "'", created + "server_certs/'", created + "open_csrs/'",
                          created + "temp/'",
                          "5 | DefaultCertCreator::defaultCertificateExists | Default Certificate "
                          "does not exist at '" +
                              store + "server_certs/server_0.cer'",
                          constructor + "Creation failed for default certificate",
                          constructor + "certificate creation detailedErrorInfo is ''"));
  EXPECT_THAT(records_.under("ERROR"), IsEmpty());
}

TEST_F(DefaultCertCreatorTest, ACertificateIsNotTakenForMissingForWantOfDescriptors) {
  const std::string certificate = directory_.path(kCertificate);
  directory_.write(kCertificate, "there");
  DefaultCertCreator& creator = *creator_;
  const qv::tests::NoDescriptors none;
  EXPECT_TRUE(creator.defaultCertificateExists());
  std::filesystem::remove(certificate);
  EXPECT_FALSE(creator.defaultCertificateExists());
}

TEST_F(DefaultCertCreatorTest, ACertificateIsTakenForMissingForNothingThatPasses) {
  directory_.write(kCertificate, "there");
  const auto existsWhenOpenFailsWith = [this](int error) {
    return InChild([&] {
      DenySystemCall(SYS_openat, static_cast<unsigned>(error));
      return creator_->defaultCertificateExists() ? 1 : 0;
    });
  };
  for (const int error : {EMFILE, ENFILE, ENOMEM, EAGAIN}) {
    EXPECT_EQ(existsWhenOpenFailsWith(error), 1) << error;
  }
  EXPECT_EQ(existsWhenOpenFailsWith(EACCES), 0);
}

TEST_F(DefaultCertCreatorTest, APairWhoseCertificateSomebodyHoldsALeaseOnStays) {
  directory_.write(kKey, "their key");
  directory_.write(kCertificate, "their certificate");
  {
    const WriteLease lease(directory_.path(kCertificate));
    if (lease.error() != 0) {
      GTEST_SKIP() << "no lease on a file in " << directory_.path("") << ": "
                   << std::strerror(lease.error());
    }
    const DefaultCertCreator other(openssl_.table(), openssl_.objects(), status_);
  }
  EXPECT_EQ(directory_.read(kKey), "their key");
  EXPECT_EQ(directory_.read(kCertificate), "their certificate");
  EXPECT_THAT(records_.under("5"),
              Contains("5 | DefaultCertCreator::DefaultCertCreator | Default certificate already "
                       "existed"));
}

TEST_F(DefaultCertCreatorTest, ACertificateThatIsAPipeIsThereAndNotWaitedFor) {
  const std::string certificate = directory_.path(kCertificate);
  ASSERT_EQ(::mkfifo(certificate.c_str(), 0600), 0);
  EXPECT_EQ(InChild([this] {
              ::alarm(10);
              return creator_->defaultCertificateExists() ? 1 : 0;
            }),
            1);
}

TEST_F(DefaultCertCreatorTest, APairThatSomebodyPutsThereWhileAKeyIsMadeStays) {
  expectPairToStayThatIsPutThereIn("RSA_generate_key");
}

TEST_F(DefaultCertCreatorTest, APairThatSomebodyPutsThereWhileACertificateIsSignedStays) {
  expectPairToStayThatIsPutThereIn("X509_sign");
}

TEST_F(DefaultCertCreatorTest, ACertificateThatIsThereIsNotWrittenOver) {
  directory_.write(kCertificate, "their certificate");
  auto* certificate = openssl_.table().X509_new();
  creator_->saveX509ToFile(certificate, status_);
  openssl_.table().X509_free(certificate);
  EXPECT_EQ(status_.code(), -1);
  EXPECT_EQ(directory_.read(kCertificate), "their certificate");
  EXPECT_THAT(journal_.linesOf("BIO_new_file"), IsEmpty());
}

TEST_F(DefaultCertCreatorTest, AKeyThatIsAPipeIsNotWaitedFor) {
  const std::string key = directory_.path(kKey);
  ASSERT_EQ(::mkfifo(key.c_str(), 0600), 0);
  EXPECT_EQ(InChild([&] {
              ::alarm(10);
              return create(L"US", L"", 1, 0).code == -1 &&
                             records_.under("ERROR") ==
                                 std::vector<std::string>{
                                     "ERROR | DefaultCertCreator::saveKeyToFile | Could not "
                                     "create '" +
                                     key + "' to write key to disk"}
                         ? 0
                         : 1;
            }),
            0);
}

TEST_F(DefaultCertCreatorTest, AKeyMayGoToADevice) {
  directory_.makeLink("/dev/null", "certstore/server_certs/server_0.key");
  EXPECT_EQ(create(L"US", L"", 1, 0).code, 0);
  EXPECT_THAT(records_.under("ERROR"), IsEmpty());
}

TEST_F(DefaultCertCreatorTest, WhatAKilledProcessLeftIsRemovedAndReplaced) {
  directory_.makeDirectory("certstore/temp");
  directory_.write("certstore/temp/server_0.cer.unfinished", "-----BEGIN CERTIFICATE-----\n");
  std::filesystem::create_hard_link(directory_.path("certstore/temp/server_0.cer.unfinished"),
                                    directory_.path("certstore/server_certs/server_0.cer"));
  const DefaultCertCreator other(openssl_.table(), openssl_.objects(), status_);
  EXPECT_EQ(status_.code(), 0);
  EXPECT_EQ(directory_.read("certstore/server_certs/server_0.cer"),
            "-----BEGIN CERTIFICATE-----\nx509-1\n-----END CERTIFICATE-----\n");
  EXPECT_TRUE(std::filesystem::is_empty(directory_.path("certstore/temp")));
  EXPECT_THAT(
      records_.under("5"),
      Contains("5 | DefaultCertCreator::DefaultCertCreator | Removed '" + directory_.path("") +
               "certstore/server_certs/server_0.cer', which a process that was killed left "
               "unfinished"));
}

TEST_F(DefaultCertCreatorTest, AfterAFailureTheCreatorIsNotEvenBuilt) {
  status_.set(-5);
  DefaultCertCreator::createDefaultSelfSignedCertificateIfNeeded(openssl_.table(),
                                                                 openssl_.objects(), status_);
  EXPECT_THAT(journal_.lines(), IsEmpty());
}

}  // namespace
}  // namespace qv::tests
