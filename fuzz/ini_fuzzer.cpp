#include "fuzz/Fuzzer.h"
#include "fuzz/Input.h"
#include "tests/qvini/property/RoundTripCheck.h"
#include "tests/reference/IniReference.h"

// INI files: any text, read with any settings, is what the reference makes of it; so is the file
// that is written of it, and what is read from that.

namespace {

using qv::fuzz::Input;
using qv::tests::IniReference;

IniReference AnySettings(Input& input) {
  // Around the bounds where lines are wrapped, and never.
  static constexpr unsigned kLineLengths[] = {80, 0, 1, 13, 14, 15, 16, 17, 20, 24, 40, 200, ~0U};
  static constexpr char kBreakCharacters[] = {0, 0, ',', ' ', 'a', '"'};
  IniReference settings;
  const std::uint32_t flags = input.below(256);
  settings.readFlags = flags & 15U;
  settings.writeFlags = (flags >> 4U & 3U) << 3U | (flags >> 6U & 1U);
  settings.caseSensitive = static_cast<int>(flags >> 7U);
  const std::uint32_t more = input.below(64);
  settings.mergeDuplicates = static_cast<int>(more & 1U);
  // How the file comes by its name is no matter of its text, and takes long: the disk is waited
  // for.
  if (more >= 48) settings.writeFlags |= (more >> 1U & 3U) << 1U;
  settings.maxLineLength = input.oneOf(kLineLengths);
  settings.wrapBreakChar = input.oneOf(kBreakCharacters);
  return settings;
}

}  // namespace

extern "C" int QV_FUZZER(ini)(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  IniReference reference = AnySettings(input);
  SCOPED_TRACE(SettingsOf(reference));
  qv::tests::RoundTripCheck().read(input.rest(), reference);
  return 0;
}
