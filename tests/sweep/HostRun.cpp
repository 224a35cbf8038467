#include "tests/sweep/HostRun.h"

#include <dlfcn.h>

#include <filesystem>
#include <iterator>
#include <new>
#include <thread>

#include "include/qvsslinit.h"
#include "kit/osdep/INIFileManager.h"
#include "source/SslInitializer.h"

namespace qv::tests {
namespace {

using kit::String;
using kit::osdep::INIFileManager;

constexpr const char* kNewSettings =
    "[Section]\nOld = 1\nFlag = True\nNumber = 42\nReal = 5.00000000000000e-01\n"
    "Text = \"a \\\"quoted\\\"\\ttext\"\n\n[Other]\nLong = \"short\"\n\n";

template <typename Function>
Function* Find(void* library, const char* name) {
  return library == nullptr ? nullptr : reinterpret_cast<Function*>(::dlsym(library, name));
}

void UseOpenssl(const Site& site, HostRun& run) {
  void* const library = ::dlopen(site.library(), RTLD_NOW);
  auto* const init = Find<decltype(QVSSLINIT_Init)>(library, "QVSSLINIT_Init");
  auto* const uninit = Find<decltype(QVSSLINIT_Uninit)>(library, "QVSSLINIT_Uninit");
  run.loaded = init != nullptr && uninit != nullptr;
  if (!run.loaded) return;
  QvSslInitHandle* const handle = init();
  run.ready = handle != nullptr;
  if (run.ready) run.number = reinterpret_cast<qvsslinit::SslInitializer*>(handle)->handle();
  uninit(handle);
}

void UseSettings(const Site& site, HostRun& run) {
  INIFileManager settings(site.settings(), "Section");
  const String section(settings.section());
  long old = 0;
  run.settingsRead = settings.read(section, "Old", old) && old == 1;
  String text;
  run.settingsChanged = settings.write(section, "Flag", true) &&
                        settings.write(section, "Number", 42L) &&
                        settings.write(section, "Real", 0.5) &&
                        settings.write(section, "Text", "a \"quoted\"\ttext") &&
                        settings.write("Other", "Long", "short") &&
                        settings.read(section, "Text", text) && text == "a \"quoted\"\ttext";
  kit::Vector<String> keys;
  settings.enumKeys(section, keys);
  run.settingsChanged = run.settingsChanged && keys.size() == 5;
  run.settingsWritten = settings.writeFile();
}

/// Init and Uninit that nothing disturbs, on a thread of their own: a lock that is still held ends
/// the process by its alarm.
HostRun OnAnotherThread(const Site& site) {
  HostRun run;
  std::thread([&] { run = HostRun::OfLibraryOn(site); }).join();
  return run;
}

bool IsLoaded(const char* library) {
  void* const found = ::dlopen(library, RTLD_NOW | RTLD_NOLOAD);
  if (found != nullptr) ::dlclose(found);
  return found != nullptr;
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string TroubleWithSettings(const HostRun& run, const Site& site) {
  const std::string now = site.directory().read("settings.ini");
  if (now == Site::kOldSettings) {
    return run.settingsChanged && run.settingsWritten ? "the settings were not written" : "";
  }
  const bool isWhole =
      run.settingsRead && run.settingsChanged ? now == kNewSettings : EndsWith(now, "\n\n");
  return isWhole ? "" : "the settings are cut";
}

}  // namespace

HostRun HostRun::OfLibraryOn(const Site& site) noexcept {
  HostRun run;
  UseOpenssl(site, run);
  return run;
}

HostRun HostRun::On(const Site& site) noexcept {
  HostRun run = OfLibraryOn(site);
  try {
    UseSettings(site, run);
  } catch (const std::bad_alloc&) {
    // As it is documented: what takes strings of ours throws.
  }
  return run;
}

bool operator==(const HostRun& a, const HostRun& b) {
  return a.loaded == b.loaded && a.ready == b.ready && a.number == b.number &&
         a.settingsRead == b.settingsRead && a.settingsChanged == b.settingsChanged &&
         a.settingsWritten == b.settingsWritten;
}

std::string TroubleAfter(const HostRun& run, const Site& site) {
  const std::string settings = TroubleWithSettings(run, site);
  if (!settings.empty()) return settings;
  if (IsLoaded(site.crypto()) && run.ready) return "OpenSSL stayed loaded";

  const HostRun next = OnAnotherThread(site);
  if (!next.ready) return "the next Init gave null";
  if (next.number != (run.ready ? 2 : 1)) return "a number was lost, or given out twice";
  return IsLoaded(site.crypto()) ? "a handle stayed counted" : "";
}

int CountDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<int>(std::distance(begin(descriptors), end(descriptors)));
}

}  // namespace qv::tests
