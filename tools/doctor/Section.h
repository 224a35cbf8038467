#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tools/common/Fact.h"

namespace qv::tools::doctor {

/// How a finding bears on the installation: as it should be, worth knowing, or to be mended.
enum class Level : std::uint8_t { Ok, Note, Wrong };

/// One sentence about the installation, and what to do about it, which may be nothing.
struct Finding {
  Level level;
  std::string text;
  std::string advice;
};

/// Which pages show a listing: those of runs with --verbose, those without, or both.
enum class Shown : std::uint8_t { Always, Verbosely, Briefly };

/// Lines that are shown as they are, below the findings.
struct Listing {
  std::string title;
  std::vector<std::string> lines;
  Shown shown = Shown::Always;
};

/// What one examination found: sentences for people, and the facts behind them for machines. The
/// listings show facts on the page in another form.
struct Section {
  Section() = default;
  Section(std::string theName, std::string theTitle)
      : name(std::move(theName)), title(std::move(theTitle)) {}

  std::string name;
  std::string title;
  std::vector<Finding> findings;
  Fact facts = Fact::names();
  std::vector<Listing> listings;

  void ok(std::string text) { findings.push_back({Level::Ok, std::move(text), {}}); }
  void note(std::string text, std::string advice = {}) {
    findings.push_back({Level::Note, std::move(text), std::move(advice)});
  }
  void wrong(std::string text, std::string advice) {
    findings.push_back({Level::Wrong, std::move(text), std::move(advice)});
  }
};

}  // namespace qv::tools::doctor
