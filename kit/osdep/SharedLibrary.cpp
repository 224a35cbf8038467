#include "kit/osdep/SharedLibrary.h"

#include <dlfcn.h>

#include <memory>
#include <utility>

#include "kit/AddFileAndLineInfo.h"
#include "kit/exception/CarbonError.h"
#include "kit/exception/InvalidOperation.h"
#include "kit/osdep/Bundle.h"
#include "kit/osdep/LoaderError.h"
#include "kit/osdep/NeedsDecoration.h"
#include "kit/osdep/path.h"

namespace qv::kit::osdep {
namespace {

WString FrameworkName(const WString& name) {
  return NeedsDecoration(name) ? name + L".framework" : name;
}

WString DynamicLibraryName(const WString& name) {
  if (!NeedsDecoration(name)) return name;
  return path::Join(path::DirName(name),
                    L"lib" + path::BaseName(name) + L"" QV_DYNAMIC_LIBRARY_SUFFIX);
}

}  // namespace

SharedLibrary::SharedLibrary(WString::Text name, bool unloadOnDestruction, bool reservedFlag)
    : unloadOnDestruction_(unloadOnDestruction),
      reservedFlag_(reservedFlag),
      requestedName_(name.begin, name.end) {
  SharedLibrary::load();
}

SharedLibrary::SharedLibrary(String::Text name, bool unloadOnDestruction, bool reservedFlag)
    : SharedLibrary(WString(name.begin, name.end), unloadOnDestruction, reservedFlag) {}

SharedLibrary::SharedLibrary(const SharedLibrary& other)
    : loadedPath_(other.loadedPath_),
      unloadOnDestruction_(other.unloadOnDestruction_),
      reservedFlag_(other.reservedFlag_),
      requestedName_(other.requestedName_),
      isBundle_(other.isBundle_) {
  if (other.isLoaded()) SharedLibrary::load();
}

SharedLibrary& SharedLibrary::operator=(const SharedLibrary& other) {
  SharedLibrary(other).swap(*this);
  return *this;
}

SharedLibrary::~SharedLibrary() {
  if (unloadOnDestruction_) SharedLibrary::unload();
}

void SharedLibrary::unload() {
  if (handle_ == nullptr) return;
  if (isBundle_) {
    delete static_cast<Bundle*>(handle_);
  } else {
    ::dlclose(handle_);
  }
  handle_ = nullptr;
}

void SharedLibrary::load() {
  if (requestedName_.empty() || isLoaded()) return;
  if (loadBundle(FrameworkName(requestedName_))) return;
  if (loadBundle(Bundle::decorateName(requestedName_))) return;
  loadDynamicLibrary(DynamicLibraryName(requestedName_));
}

void SharedLibrary::load(const WString& name) {
  if (!loadedPath_.empty()) QV_THROW(exception::InvalidOperation());
  requestedName_ = name;
  load();
}

bool SharedLibrary::loadBundle(WString name) {
  auto bundle = std::make_unique<Bundle>(name);
  if (!bundle->isOpened()) return false;
  keep(bundle.release(), true, name);
  return true;
}

void SharedLibrary::loadDynamicLibrary(WString name) {
  // The loader would take a null character for the end of the name, and open another file.
  if (name.hasEmbeddedNull()) return;
  void* handle = ::dlopen(String(name).c_str(), RTLD_NOW | RTLD_GLOBAL);
  if (handle != nullptr) keep(handle, false, name);
}

void SharedLibrary::keep(void* handle, bool isBundle, WString& path) noexcept {
  loadedPath_.swap(path);
  handle_ = handle;
  isBundle_ = isBundle;
}

void SharedLibrary::swap(SharedLibrary& other) noexcept {
  loadedPath_.swap(other.loadedPath_);
  std::swap(handle_, other.handle_);
  std::swap(unloadOnDestruction_, other.unloadOnDestruction_);
  std::swap(reservedFlag_, other.reservedFlag_);
  requestedName_.swap(other.requestedName_);
  std::swap(isBundle_, other.isBundle_);
}

bool SharedLibrary::isLoaded() const noexcept {
  if (handle_ == nullptr) return false;
  return !isBundle_ || static_cast<const Bundle*>(handle_)->isOpened();
}

void* SharedLibrary::getFunctionPointer(String::Text symbolName, bool noThrow) const {
  return isBundle_ ? getBundleFunction(WString(symbolName.begin, symbolName.end), noThrow)
                   : getDynamicLibraryFunction(String(symbolName.begin, symbolName.end), noThrow);
}

void* SharedLibrary::getFunctionPointer(WString::Text symbolName, bool noThrow) const {
  return isBundle_ ? getBundleFunction(WString(symbolName.begin, symbolName.end), noThrow)
                   : getDynamicLibraryFunction(String(symbolName.begin, symbolName.end), noThrow);
}

void* SharedLibrary::getBundleFunction(const WString& name, bool noThrow) const {
  if (handle_ != nullptr) {
    return static_cast<const Bundle*>(handle_)->getFunctionPointer(name, noThrow);
  }
  if (noThrow) return nullptr;
  QV_THROW(CarbonError(-1));
}

void* SharedLibrary::getDynamicLibraryFunction(const String& name, bool noThrow) const {
  void* function = nullptr;
  if (handle_ != nullptr) {
    // A symbol may be there and be null: no complaint from before may then pass for the reason.
    ::dlerror();
    if (!name.hasEmbeddedNull()) function = ::dlsym(handle_, name.c_str());
  }
  if (function == nullptr && !noThrow) QV_THROW(LoaderError());
  return function;
}

}  // namespace qv::kit::osdep
