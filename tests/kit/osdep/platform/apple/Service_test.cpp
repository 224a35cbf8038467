// The service and what it loads, as they go about it on a system of Apple's.
#include <gmock/gmock.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "source/SslInitializer.h"
#include "source/client/LoadTraceEngine.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/engine/EngineJournal.h"
#include "tests/doubles/openssl/Journal.h"
#include "tests/kit/osdep/platform/apple/AppleTest.h"

namespace {

using qv::kit::LibraryInterface;
using qv::kit::StatusChain;
using qv::tests::EngineJournal;
using qv::tests::Journal;
using qv::traceengine::ITraceEngine;
using qv::traceengine::LoadTraceEngineImpl;
using testing::ElementsAre;
using testing::HasSubstr;

class AppleService : public qv::tests::AppleTest {
 protected:
  AppleService() {
    ::unsetenv("QVPUBAPPDATADIR");
    directory_.makeDirectory("preferences/kestrix");
    directory_.makeDirectory("frameworks/qv_traceengine.framework");
    foundation_.addFolder(-32765, 0x70726566, directory_.path("preferences"));
    foundation_.addFolder(-32765, 0x6672616D, directory_.path("frameworks"));
    foundation_.setMainBundle(directory_.path("main"));
  }

  const qv::tests::TemporaryDirectory directory_;
};

TEST_F(AppleService, OpensOpensslFromFilesAndKeepsItsCertificatesInThePreferencesFolder) {
  const qvsslinit::SslInitializer initializer;
  EXPECT_EQ(initializer.handle(), 1);
  const Journal& journal = Journal::instance();
  EXPECT_THAT(journal.linesOf("load "),
              ElementsAre("load libeay32.dylib", "load libssleay32.dylib"));
  const std::string store = directory_.path("preferences/kestrix/certstore/");
  EXPECT_THAT(journal.linesOf("BIO_new_file"),
              ElementsAre(HasSubstr(store + "server_certs/server_0.key"),
                          HasSubstr(store + "server_certs/server_0.cer")));
  EXPECT_TRUE(directory_.has("preferences/kestrix/certstore/server_certs"));
}

TEST_F(AppleService, FindsATraceEngineThatIsAFramework) {
  std::filesystem::copy_file(QV_ENGINE_DOUBLES "/good/" QV_ENGINE_FILE,
                             directory_.path("frameworks/qv_traceengine.framework/code"));
  EngineJournal& journal = EngineJournal::instance();
  journal.reset();
  {
    StatusChain status;
    LibraryInterface<ITraceEngine> engine;
    LoadTraceEngineImpl<ITraceEngine>(L"qv_traceengine", 0, engine, status);
    EXPECT_EQ(status.code(), 0);
    ASSERT_NE(engine.interface(), nullptr);
    EXPECT_THAT(journal.lines(), testing::Not(testing::Contains("unloaded")));
    EXPECT_EQ(foundation_.references(), 1);
  }
  EXPECT_EQ(journal.lines().back(), "unloaded");
}

TEST_F(AppleService, KeepsNothingOfATraceEngineWithoutCode) {
  StatusChain status;
  LibraryInterface<ITraceEngine> engine;
  LoadTraceEngineImpl<ITraceEngine>(L"qv_traceengine", 0, engine, status);
  EXPECT_EQ(status.code(), qv::kit::GetInterfaceFuncNoThrow::kNoEntryPoint);
  EXPECT_EQ(engine.interface(), nullptr);
  EXPECT_EQ(foundation_.references(), 0);
}

}  // namespace
