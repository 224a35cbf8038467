#pragma once

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "qvini/qvini.h"
#include "tests/qvini/property/Document.h"
#include "tests/reference/IniReference.h"

namespace qv::tests {

/// Holds documents of the library against reference documents, and counts what it saw.
class RoundTripCheck {
 public:
  /// Reads the text into both, and writes what was read.
  void read(const std::string& text, IniReference& reference) {
    SCOPED_TRACE("reading\n" + text);
    const Document document(reference);
    const int result = reference.read(text);
    ASSERT_EQ(document.read(text), result);
    if (result != 0) {
      ++refused_;
      return;
    }
    ASSERT_EQ(Told(document, reference), Told(reference));
    writeAndRead(document, reference);
  }

  /// Writes both and reads what was written: it is equal, and equal to what it was before unless
  /// the reference knows a reason.
  void writeAndRead(const Document& document, const IniReference& reference) {
    std::string expected;
    std::string text;
    if (!reference.write(expected)) {
      ++unwritable_;
      EXPECT_EQ(document.write(text), kIniCannotWrap);
      return;
    }
    ASSERT_EQ(document.write(text), 0);
    ASSERT_EQ(text, expected);
    SCOPED_TRACE("reading back\n" + text);

    IniReference expectedBack = reference;
    const Document back(reference);
    const int result = expectedBack.read(text);
    ASSERT_EQ(back.read(text), result);
    if (result == 0) {
      ASSERT_EQ(Told(back, expectedBack), Told(expectedBack));
    }
    if (!reference.losses().empty()) return;
    ++lossless_;
    ASSERT_EQ(result, 0);
    ASSERT_EQ(ContentsOf(expectedBack), ContentsOf(reference));
    // Sections that were put are written otherwise with this flag than those that were read.
    if ((reference.writeFlags & kIniWriteFewEmptyLines) == 0) {
      EXPECT_EQ(back.written(), text);
    }
  }

  /// Documents that came back equal.
  int lossless() const { return lossless_; }
  /// Documents with an entry that cannot be wrapped.
  int unwritable() const { return unwritable_; }
  /// Texts in an encoding that is refused.
  int refused() const { return refused_; }

 private:
  /// What must come back: names, values and quotes in their order.
  static std::string ContentsOf(const IniReference& reference) {
    std::string contents;
    for (const IniReferenceSection& section : reference.sections) {
      contents += "[" + section.name + "]\n";
      for (const IniReferenceEntry& entry : section.entries)
        contents +=
            "<" + entry.name + "> <" + entry.value + "> " + std::to_string(entry.quote) + "\n";
    }
    return contents;
  }

  int lossless_ = 0;
  int unwritable_ = 0;
  int refused_ = 0;
};

/// The settings of a document, for messages.
inline std::string SettingsOf(const IniReference& reference) {
  return "readFlags " + std::to_string(reference.readFlags) + ", writeFlags " +
         std::to_string(reference.writeFlags) + ", caseSensitive " +
         std::to_string(reference.caseSensitive) + ", mergeDuplicates " +
         std::to_string(reference.mergeDuplicates) + ", maxLineLength " +
         std::to_string(reference.maxLineLength) + ", wrapBreakChar " +
         std::to_string(reference.wrapBreakChar);
}

}  // namespace qv::tests
