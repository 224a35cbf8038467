#pragma once

#include <cstdint>
#include <string>

#include "kit/StringBase.h"

namespace qv::traceengine {

/// What the environment says about the engine.
struct EngineSettings {
  static constexpr std::uint32_t kDefaultBlocks = 1024;
  static constexpr std::uint32_t kMostBlocks = 65536;

  /// Where the clients' tag files lie: QV_TRACE_CONFIG_DIR, where that holds an absolute path.
  kit::WString configDirectory = L"/etc/kestrix/trace";
  /// The file that records go to: QV_TRACE_OUTPUT, where that holds an absolute path. Empty means
  /// standard error.
  std::string outputPath;
  /// How many records may be on their way at once: QV_TRACE_BLOCKS, where that is a decimal number
  /// from 1 to kMostBlocks and nothing else.
  std::uint32_t blocks = kDefaultBlocks;
  /// Whether records bear the name of their tag: unless QV_TRACE_TAG_NAMES is "no".
  bool showTagNames = true;

  /// @{
  /// How the variables are read: whether a value can be a path here, the number that it consists
  /// of, 0 for none within the bounds, and whether it leaves the names of tags out.
  static bool IsPath(const char* value) noexcept;
  static std::uint32_t BlocksIn(const char* value) noexcept;
  static bool HidesTagNames(const char* value) noexcept;
  /// @}

  /// Reads the environment, but takes the defaults in a program that runs with more rights than its
  /// user has. Throws std::bad_alloc.
  static EngineSettings FromEnvironment();
};

}  // namespace qv::traceengine
