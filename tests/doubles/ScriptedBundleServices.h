#pragma once

#include <memory>
#include <string>
#include <vector>

namespace qv::tests {

/// The bundle services of a program that links ScriptedBundleServices.cpp: bundles are where a test
/// says they are. Places are written as
///
///     path NAME, user frameworks NAME, local frameworks NAME, system frameworks NAME,
///     user private frameworks NAME (local, system likewise), main bundle NAME
///
/// One object at a time; without one no bundle is anywhere.
class ScriptedBundleServices {
 public:
  ScriptedBundleServices();
  ScriptedBundleServices(const ScriptedBundleServices&) = delete;
  ScriptedBundleServices& operator=(const ScriptedBundleServices&) = delete;
  ~ScriptedBundleServices();

  /// Puts a bundle at place. All bundles have the same functions.
  void addBundle(const std::wstring& place);

  /// Lets the system have no such place at all: not even its name can be made.
  void withhold(const std::wstring& place);

  void addFunction(const std::wstring& name, void* function);

  /// The places looked at so far, in order.
  const std::vector<std::wstring>& places() const;

  /// The functions asked for so far, in order.
  const std::vector<std::wstring>& functions() const;

  /// References that have been handed out and not been released.
  int openBundles() const;
  int openUrls() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
  friend struct ScriptedBundleServicesAccess;
};

}  // namespace qv::tests
