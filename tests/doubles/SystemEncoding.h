#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qv::tests {

/// What the scripted system encoding was asked, and what it answers.
struct SystemEncodingScript {
  std::vector<std::string> calls;
  std::wstring wide;           ///< written by CarbonAnsiToWide
  std::string narrow;          ///< written by CarbonWideToAnsi
  std::uint32_t required = 0;  ///< by GetCarbonWideToAnsiRequiredBufferLength
  bool throwsInvalidLocale = false;
};

SystemEncodingScript& SystemEncoding();

}  // namespace qv::tests
