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

}  // namespace

bool EngineSettings::IsPath(const char* value) noexcept {
  return value[0] == '/';
}

std::uint32_t EngineSettings::BlocksIn(const char* value) noexcept {
  std::uint32_t number = 0;
  for (; *value != '\0'; ++value) {
    if (*value < '0' || *value > '9') return 0;
    number = number * 10 + static_cast<std::uint32_t>(*value - '0');
    if (number > kMostBlocks) return 0;
  }
  return number;
}

bool EngineSettings::HidesTagNames(const char* value) noexcept {
  return std::strcmp(value, "no") == 0;
}

EngineSettings EngineSettings::FromEnvironment() {
  EngineSettings settings;
  const char* directory = Variable("QV_TRACE_CONFIG_DIR");
  if (IsPath(directory)) SetDirectory(settings.configDirectory, directory);
  const char* output = Variable("QV_TRACE_OUTPUT");
  if (IsPath(output)) settings.outputPath = output;
  const std::uint32_t blocks = BlocksIn(Variable("QV_TRACE_BLOCKS"));
  if (blocks != 0) settings.blocks = blocks;
  settings.showTagNames = !HidesTagNames(Variable("QV_TRACE_TAG_NAMES"));
  return settings;
}

}  // namespace qv::traceengine
