#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

#include "kit/LibraryInterface.h"
#include "kit/StatusChain.h"
#include "kit/StringBase.h"
#include "source/client/LoadTraceEngine.h"
#include "tools/common/FileFacts.h"
#include "tools/doctor/ChildProcess.h"
#include "tools/doctor/Probes.h"

namespace qv::tools::doctor {
namespace {

using kit::GetInterfaceFuncNoThrow;
using kit::LibraryInterface;
using kit::StatusChain;
using kit::String;
using kit::WString;
using traceengine::ITraceEngine;

constexpr char kFrameworksName[] = "/Library/Frameworks/qv_traceengine";
constexpr char kFrameworksFile[] =
    "/Library/Frameworks/libqv_traceengine" QV_DYNAMIC_LIBRARY_SUFFIX;
constexpr char kFileName[] = "libqv_traceengine" QV_DYNAMIC_LIBRARY_SUFFIX;

/// The directories in which the loader looks for what the library names without a directory.
std::vector<std::string> SearchDirectories(const std::string& library) {
  void* handle = ::dlopen(library.c_str(), RTLD_NOW);
  Dl_serinfo size{};
  if (handle == nullptr || ::dlinfo(handle, RTLD_DI_SERINFOSIZE, &size) != 0) return {};
  const std::unique_ptr<Dl_serinfo, void (*)(void*)> info(
      static_cast<Dl_serinfo*>(std::calloc(1, size.dls_size)), std::free);
  if (info == nullptr) return {};
  info->dls_size = size.dls_size;
  info->dls_cnt = size.dls_cnt;
  if (::dlinfo(handle, RTLD_DI_SERINFO, info.get()) != 0) return {};
  std::vector<std::string> directories;
  const Dl_serpath* const paths = info->dls_serpath;
  for (unsigned i = 0; i < info->dls_cnt; ++i)
    directories.emplace_back(paths[i].dls_name);
  return directories;
}

/// The file that the loader finds by the name alone: in memory already, or by its cache in
/// directories that it tells nobody. Empty for none.
std::string FileByNameAlone() {
  void* handle = ::dlopen(kFileName, RTLD_NOW);
  link_map* map = nullptr;
  if (handle == nullptr || ::dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0) return {};
  return map->l_name;
}

/// Why no status came of an engine: it cannot be opened, or else it was asked for one.
std::string WhyNoStatus(const std::string& file) {
  // By the name that the library would use, which in some locales is another.
  if (::dlopen(String(WString(file.c_str())).c_str(), RTLD_NOW) == nullptr) {
    return std::string("it cannot be opened: ") + ::dlerror();
  }
  return "its GetInterface reported a failure, for it left the status unset, with code " +
         std::to_string(StatusChain::kNotSet) + ": it has to clear() the status";
}

/// What the library makes of the engine called name, in words; "engine" when it takes it.
std::string Try(const char* name, const std::string& file, StatusChain& status,
                LibraryInterface<ITraceEngine>& engine) {
  Report({{"trying", name}});
  traceengine::LoadTraceEngineImpl(WString(name), 0, engine, status);
  if (status.code() == StatusChain::kNotSet) return WhyNoStatus(file);
  if (status.code() == GetInterfaceFuncNoThrow::kNoEntryPoint) {
    return "it exports no GetInterface";
  }
  if (status.code() < 0) {
    return "its GetInterface failed with code " + std::to_string(status.code());
  }
  if (engine.interface() != nullptr) return "engine";
  return "its GetInterface gave no trace engine, or one that was built without run-time type "
         "information";
}

/// Whether it is the engine that comes with the library, by the name of its class.
bool IsOurs(const ITraceEngine& engine) {
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(typeid(engine).name(), nullptr, nullptr, nullptr), std::free);
  return name != nullptr && std::strcmp(name.get(), "qv::traceengine::TraceEngine") == 0;
}

void AskEngine(ITraceEngine& engine) {
  WString directory;
  engine.getConfigDirectory(directory);
  Report({{"is_ours", IsOurs(engine)},
          {"shows_tag_names", engine.showTagNames()},
          {"config_directory", String(directory).c_str()}});
}

/// Tries the engine in one place. True when the search ends here, as the library's would.
bool TryPlace(const char* name, const std::string& file, bool isLast) {
  const FileFacts facts(file);
  if (!facts.isThere()) {
    Report({{"place", file}, {"result", facts.kindText()}});
    return false;
  }
  StatusChain status;
  LibraryInterface<ITraceEngine> engine;
  const std::string result = Try(name, file, status, engine);
  Report({{"place", file}, {"result", result}});
  if (engine.interface() != nullptr) AskEngine(*engine.interface());
  return isLast || status.code() >= 0;
}

}  // namespace

void ProbeEngine(const std::string& library) {
  if (TryPlace(kFrameworksName, kFrameworksFile, false)) return;

  std::set<std::string> seen;
  for (const std::string& directory : SearchDirectories(library)) {
    const std::string file = directory + "/" + kFileName;
    // What the loader finds first is what it opens: there is no second choice behind it.
    if (seen.insert(file).second && TryPlace(file.c_str(), file, true)) return;
  }
  const std::string file = FileByNameAlone();
  if (!file.empty()) TryPlace(file.c_str(), file, true);
}

}  // namespace qv::tools::doctor
