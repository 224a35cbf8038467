#pragma once

#include <map>
#include <string>
#include <vector>

namespace qv::tests {

/// Stands between the code under test and dlopen as long as the object lives: names lead to the
/// files that the test puts there, and all others to nothing, whatever the machine has. Programs
/// that use it link with --wrap=dlopen. One object at a time.
class StagedLoader {
 public:
  StagedLoader();
  ~StagedLoader();
  StagedLoader(const StagedLoader&) = delete;
  StagedLoader& operator=(const StagedLoader&) = delete;

  void put(const std::string& name, const std::string& file) { files_[name] = file; }
  void remove(const std::string& name) { files_.erase(name); }
  /// The names that were asked for, again and again those that were found and copied.
  const std::vector<std::string>& requests() const { return requests_; }
  /// The same, each name where it came up first.
  std::vector<std::string> names() const;

  /// For the wrapper.
  void* open(const char* name, int flags) noexcept;

 private:
  std::map<std::string, std::string> files_;
  std::vector<std::string> requests_;
};

}  // namespace qv::tests
