#pragma once

#include <string>
#include <vector>

#include "tools/doctor/Section.h"

namespace qv::tools::doctor {

/// Everything that was found about one library.
struct Diagnosis {
  std::string library;
  std::vector<Section> sections;

  int count(Level level) const;
  bool isHealthy() const { return count(Level::Wrong) == 0; }
};

/// The page for people: a mark and a sentence for each finding, what to do about it below.
std::string RenderPage(const Diagnosis& diagnosis, bool isVerbose);

/// The same findings for machines, with the facts behind them.
std::string RenderJson(const Diagnosis& diagnosis);

}  // namespace qv::tools::doctor
