#pragma once

#include <sys/stat.h>

#include <optional>

#include "kit/StringBase.h"

namespace qvsslinit {

/// The certificate file while it is being written. Until it is whole it has a second name, which
/// tells what a process leaves that is killed meanwhile from a file that somebody put there. A file
/// that is not whole in the end is removed again, unless it was there before or somebody has put
/// another in its place.
///
/// Where there can be no second name, such as on file systems without hard links, all that is lost
/// is that a later process could tell. Reports nothing: where not even the file can be made, its
/// writing will fail as well and say why.
class CertificateDraft {
 public:
  /// Removes file if it is what a process that was killed left: the same as secondName, and without
  /// an end. secondName goes in any case. For those who hold the StoreLock: what another process is
  /// still writing looks the same. Whether file was removed.
  static bool RemoveLeftover(const qv::kit::String& file,
                             const qv::kit::String& secondName) noexcept;

  /// Where nothing is reached by the name, makes file, empty, with the permissions that the process
  /// gives new files, and under both names where that can be. They must outlive the draft.
  CertificateDraft(const qv::kit::String& file, const qv::kit::String& secondName) noexcept;
  CertificateDraft(const CertificateDraft&) = delete;
  CertificateDraft& operator=(const CertificateDraft&) = delete;

  /// Takes the second name away, and the file before it unless finish() was successful. Removes
  /// nothing but what the constructor made.
  ~CertificateDraft();

  /// Whether there is an empty file now that is this draft's.
  bool isMade() const noexcept { return made_.has_value(); }

  /// Whether the file, which must be closed, is going to stay: it is whole, or cannot be judged, or
  /// is somebody else's by now.
  bool finish() noexcept;

 private:
  void makeUnderBothNames() noexcept;
  void makeUnderOneName() noexcept;
  bool wasReplaced() const noexcept;

  const qv::kit::String& file_;
  const qv::kit::String& secondName_;
  std::optional<struct stat> made_;
  bool hasSecondName_ = false;
  bool isWhole_ = false;
};

}  // namespace qvsslinit
