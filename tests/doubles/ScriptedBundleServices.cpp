#include "tests/doubles/ScriptedBundleServices.h"

#include <map>
#include <set>
#include <stdexcept>

#include "kit/osdep/platform/BundleServices.h"
#include "tests/doubles/Text.h"

namespace qv::kit::osdep::platform {

struct OpaqueBundle {
  bool executableLoaded = false;
};

struct OpaqueUrl {
  std::wstring place;
};

}  // namespace qv::kit::osdep::platform

namespace qv::tests {

struct ScriptedBundleServices::State {
  std::set<std::wstring> bundles;
  std::set<std::wstring> withheld;
  std::map<std::wstring, void*> addresses;
  std::vector<std::wstring> places;
  std::vector<std::wstring> functions;
  int openBundles = 0;
  int openUrls = 0;
};

namespace {

ScriptedBundleServices* g_pServices = nullptr;

}  // namespace

struct ScriptedBundleServicesAccess {
  static ScriptedBundleServices::State& State() {
    static ScriptedBundleServices::State nothing;
    return g_pServices == nullptr ? nothing : *g_pServices->state_;
  }
};

ScriptedBundleServices::ScriptedBundleServices() : state_(std::make_unique<State>()) {
  if (g_pServices != nullptr) throw std::logic_error("bundle services are scripted already");
  g_pServices = this;
}

ScriptedBundleServices::~ScriptedBundleServices() {
  g_pServices = nullptr;
}

void ScriptedBundleServices::addBundle(const std::wstring& place) {
  state_->bundles.insert(place);
}

void ScriptedBundleServices::withhold(const std::wstring& place) {
  state_->withheld.insert(place);
}

void ScriptedBundleServices::addFunction(const std::wstring& name, void* function) {
  state_->addresses[name] = function;
}

const std::vector<std::wstring>& ScriptedBundleServices::places() const {
  return state_->places;
}

const std::vector<std::wstring>& ScriptedBundleServices::functions() const {
  return state_->functions;
}

int ScriptedBundleServices::openBundles() const {
  return state_->openBundles;
}

int ScriptedBundleServices::openUrls() const {
  return state_->openUrls;
}

}  // namespace qv::tests

namespace qv::kit::osdep::platform {
namespace {

using qv::tests::Exactly;

auto& Script() {
  return qv::tests::ScriptedBundleServicesAccess::State();
}

OwnedUrl CreateUrl(const std::wstring& place) {
  Script().places.push_back(place);
  if (Script().withheld.count(place) != 0) return nullptr;
  ++Script().openUrls;
  return OwnedUrl(new OpaqueUrl{place});
}

std::wstring NameOf(FolderDomain domain) {
  switch (domain) {
    case FolderDomain::User:
      return L"user ";
    case FolderDomain::Local:
      return L"local ";
    case FolderDomain::System:
      return L"system ";
  }
  throw std::logic_error("no such domain");
}

std::wstring NameOf(FolderType folder) {
  switch (folder) {
    case FolderType::Frameworks:
      return L"frameworks ";
    case FolderType::PrivateFrameworks:
      return L"private frameworks ";
  }
  throw std::logic_error("no such folder");
}

}  // namespace

void ReleaseBundle(BundleReference bundle) noexcept {
  --Script().openBundles;
  delete bundle;
}

void ReleaseUrl(UrlReference url) noexcept {
  --Script().openUrls;
  delete url;
}

OwnedUrl CreateUrlFromPath(const WString& path) {
  return CreateUrl(L"path " + Exactly(path));
}

OwnedUrl CreateUrlInStandardFolder(const WString& name, FolderDomain domain, FolderType folder) {
  return CreateUrl(NameOf(domain) + NameOf(folder) + Exactly(name));
}

OwnedUrl CreateUrlOfMainBundleResource(const WString& name) {
  return CreateUrl(L"main bundle " + Exactly(name));
}

OwnedBundle CreateBundle(UrlReference url) {
  if (Script().bundles.count(url->place) == 0) return nullptr;
  ++Script().openBundles;
  return OwnedBundle(new OpaqueBundle);
}

bool IsBundleExecutableLoaded(BundleReference bundle) {
  return bundle->executableLoaded;
}

void* GetBundleFunctionPointer(BundleReference bundle, const WString& name) {
  bundle->executableLoaded = true;
  Script().functions.push_back(Exactly(name));
  const auto found = Script().addresses.find(Exactly(name));
  return found == Script().addresses.end() ? nullptr : found->second;
}

}  // namespace qv::kit::osdep::platform
