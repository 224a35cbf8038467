#pragma once

#include <string>

#include "tests/doubles/StagedLoader.h"
#include "tests/doubles/TemporaryDirectory.h"
#include "tests/doubles/engine/EngineJournal.h"

namespace qv::tests {

/// The engine doubles, named as their directories: see their CMakeLists.txt.
constexpr const char* kGoodEngine = "good";
constexpr const char* kEntrylessEngine = "entryless";
constexpr const char* kVisibleEngine = "visible";
constexpr const char* kUntypedEngine = "untyped";
constexpr const char* kPlainEngine = "plain";

inline std::string EngineFile(const std::string& kind) {
  return QV_ENGINE_DOUBLES "/" + kind + "/" QV_ENGINE_FILE;
}

/// The two names by which the trace engine is looked for.
constexpr const char* kFrameworksPlace = "/Library/Frameworks/" QV_ENGINE_FILE;
constexpr const char* kBarePlace = QV_ENGINE_FILE;

/// An engine to be found by its bare name, and the tag file in the directory that it names.
class InstalledEngine {
 public:
  explicit InstalledEngine(const std::string& kind = kGoodEngine) {
    journal().reset();
    loader_.put(kBarePlace, EngineFile(kind));
    journal().script.configDirectory.assign(directory_.path().begin(), directory_.path().end());
  }

  static EngineJournal& journal() { return EngineJournal::instance(); }
  static EngineScript& script() { return journal().script; }
  StagedLoader& loader() { return loader_; }
  const TemporaryDirectory& directory() const { return directory_; }
  void writeTags(const std::string& contents) const { directory_.write("module.cfg", contents); }

 private:
  TemporaryDirectory directory_;
  StagedLoader loader_;
};

}  // namespace qv::tests
