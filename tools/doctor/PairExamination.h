#pragma once

#include <string>

#include "tools/common/FileFacts.h"
#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// A key and a certificate that bear the same name, of which either may be missing.
class PairExamination {
 public:
  /// stem is the path of both without the endings ".key" and ".cer".
  PairExamination(const std::string& stem, Section& section);

  /// Judges both and adds the facts of each file there is to files.
  void run(Fact& files);

 private:
  void judgeCertificate(Fact& facts);
  void judgeKey(Fact& facts);
  void judgeAccess(Fact& facts);
  void judgeWriters(const FileFacts& file);
  void judgeMatch(Fact& facts);
  void judgeMissing();
  /// Reads a file that must hold PEM text; false, and a finding, when that is impossible.
  bool read(const FileFacts& file, std::string& text);

  /// A file of the store, for people: "'server_certs/server_0.key'".
  static std::string Short(const FileFacts& file);
  /// What helps against a file that is good for nothing.
  std::string replaceAdvice() const;

  Section& section_;
  /// Whether this is the pair that Init makes.
  bool isDefault_;
  FileFacts key_;
  FileFacts certificate_;
  std::string keyText_;
  std::string certificateText_;
};

}  // namespace qv::tools::doctor
