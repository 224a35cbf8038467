#include "engine/EngineSettings.h"

#include <cstdlib>
#include <cstring>

#include "kit/exception/Exception.h"

namespace qv::traceengine {
namespace {

/// The value of a variable; empty when it is not set.
const char* Variable(const char* name) noexcept {
  const char* value = ::secure_getenv(name);
  return value != nullptr ? value : "";
}

/// Sets directory to path. Bytes that are no text in the encoding of the process become "?"; where
/// that encoding is not known, directory stays.
void SetDirectory(kit::WString& directory, const char* path) {
  try {
    directory = kit::WString(path);
  } catch (const kit::exception::Exception&) {
    return;
  }
}

/// The number that text consists of; 0 when it is none, or more than kMostBlocks.
std::uint32_t BlocksIn(const char* text) noexcept {
  std::uint32_t number = 0;
  for (; *text != '\0'; ++text) {
    if (*text < '0' || *text > '9') return 0;
    number = number * 10 + static_cast<std::uint32_t>(*text - '0');
    if (number > EngineSettings::kMostBlocks) return 0;
  }
  return number;
}

}  // namespace

EngineSettings EngineSettings::FromEnvironment() {
  EngineSettings settings;
  const char* directory = Variable("QV_TRACE_CONFIG_DIR");
  if (directory[0] == '/') SetDirectory(settings.configDirectory, directory);
  const char* output = Variable("QV_TRACE_OUTPUT");
  if (output[0] == '/') settings.outputPath = output;
  const std::uint32_t blocks = BlocksIn(Variable("QV_TRACE_BLOCKS"));
  if (blocks != 0) settings.blocks = blocks;
  settings.showTagNames = std::strcmp(Variable("QV_TRACE_TAG_NAMES"), "no") != 0;
  return settings;
}

}  // namespace qv::traceengine
