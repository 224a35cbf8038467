#pragma once

#include <vector>

#include "qvini/qvini.h"
#include "tests/qvini/property/RandomText.h"
#include "tests/reference/IniReference.h"

namespace qv::tests {

/// Gives a document any line length and any break character, among them those at the bounds.
inline void SetWrapping(RandomText& random, IniReference& reference) {
  static const std::vector<unsigned> kLineLengths{80, 80, 20, 13,  14, 15, 16,
                                                  17, 24, 40, 200, 0,  1,  kIniNoLineLimit};
  static const std::vector<char> kBreakCharacters{0, 0, 0, ',', ' ', 'a', '"'};
  reference.maxLineLength = random.oneOf(kLineLengths);
  reference.wrapBreakChar = random.oneOf(kBreakCharacters);
}

/// Gives a document any settings.
inline void SetEverything(RandomText& random, IniReference& reference) {
  reference.readFlags = random.below(16);
  reference.writeFlags = (random.below(4) << 3U) | random.below(2);
  reference.caseSensitive = static_cast<int>(random.below(2));
  reference.mergeDuplicates = static_cast<int>(random.below(2));
  SetWrapping(random, reference);
}

}  // namespace qv::tests
