#include "kit/osdep/ProcessLocaleAscii.h"

#include <gtest/gtest.h>

#include <string>

namespace qv::kit::osdep {
namespace {

struct Copied {
  std::wstring text;
  std::size_t left;
  bool isAll;
};

Copied CopyInto(std::size_t room, const std::string& text) {
  std::wstring copy(room, L'?');
  const char* begin = text.data();
  wchar_t* out = copy.data();
  const bool isAll = CopyAscii(begin, text.data() + text.size(), out, copy.data() + room);
  copy.resize(static_cast<std::size_t>(out - copy.data()));
  return {copy, static_cast<std::size_t>(text.data() + text.size() - begin), isAll};
}

TEST(CopyAscii, CopiesTheWholeOfATextThatFits) {
  const Copied copied = CopyInto(4, "path");
  EXPECT_EQ(copied.text, L"path");
  EXPECT_TRUE(copied.isAll);
}

TEST(CopyAscii, EndsWhereThereIsNoMoreRoom) {
  const Copied copied = CopyInto(3, "path");
  EXPECT_EQ(copied.text, L"pat");
  EXPECT_EQ(copied.left, 1U);
  EXPECT_FALSE(copied.isAll);
}

TEST(CopyAscii, EndsBeforeTheFirstCharacterThatIsNotAscii) {
  const Copied copied = CopyInto(9, "caf\xC3\xA9");
  EXPECT_EQ(copied.text, L"caf");
  EXPECT_EQ(copied.left, 2U);
  EXPECT_FALSE(copied.isAll);
}

}  // namespace
}  // namespace qv::kit::osdep
