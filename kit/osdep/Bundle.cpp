#include "kit/osdep/Bundle.h"

#include <utility>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/CarbonError.h"
#include "kit/exception/InvalidArgument.h"
#include "kit/exception/InvalidOperation.h"
#include "kit/osdep/NeedsDecoration.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep {

using platform::FolderDomain;
using platform::FolderType;

Bundle::Bundle(const WString& name) {
  const WString fixedName = name.empty() ? name : decorateName(name);
  const bool hasDirectory = path::BaseName(fixedName).length() != fixedName.length();
  if (hasDirectory ? openFromPath(fixedName) : openFromAnyStandardLocation(fixedName)) return;
  openFromMainBundle(fixedName);
}

bool Bundle::isLoaded() const {
  return isOpened() && platform::IsBundleExecutableLoaded(bundle_.get());
}

bool Bundle::openBundle(platform::UrlReference url) {
  if (url == nullptr) return false;
  platform::OwnedBundle opened = platform::CreateBundle(url);
  if (opened == nullptr) return false;
  bundle_ = std::move(opened);
  return true;
}

bool Bundle::openFromPath(const WString& path) {
  return openBundle(platform::CreateUrlFromPath(path).get());
}

bool Bundle::openFromStandardLocation(const WString& name, FolderDomain domain, FolderType folder) {
  return openBundle(platform::CreateUrlInStandardFolder(name, domain, folder).get());
}

bool Bundle::openFromAnyStandardLocation(const WString& name) {
  return openFromStandardLocation(name, FolderDomain::User, FolderType::Frameworks) ||
         openFromStandardLocation(name, FolderDomain::Local, FolderType::Frameworks) ||
         openFromStandardLocation(name, FolderDomain::System, FolderType::Frameworks) ||
         openFromStandardLocation(name, FolderDomain::System, FolderType::PrivateFrameworks);
}

bool Bundle::openFromMainBundle(const WString& name) {
  return openBundle(platform::CreateUrlOfMainBundleResource(name).get());
}

void* Bundle::getFunctionPointer(const WString& name, bool noThrow) const {
  if (!isOpened()) {
    if (noThrow) return nullptr;
    QV_THROW(exception::InvalidOperation());
  }
  void* function = platform::GetBundleFunctionPointer(bundle_.get(), name);
  if (function == nullptr && !noThrow) QV_THROW(CarbonError(-1));
  return function;
}

WString Bundle::decorateName(const WString& name) {
  if (name.empty()) QV_THROW(exception::InvalidArgument());
  return NeedsDecoration(name) ? name + L".bundle" : name;
}

}  // namespace qv::kit::osdep
