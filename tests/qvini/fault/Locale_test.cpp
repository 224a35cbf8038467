#include <gtest/gtest.h>

#include <clocale>

#include "qvini/qvini.h"
#include "tests/qvini/TestDocument.h"

namespace {
bool g_refusesLocales = false;
}

extern "C" {
locale_t __real_newlocale(int mask, const char* name, locale_t base);

locale_t __wrap_newlocale(int mask, const char* name, locale_t base) {
  return g_refusesLocales ? static_cast<locale_t>(nullptr) : __real_newlocale(mask, name, base);
}
}

namespace {

using qv::tests::TestDocument;

TEST(NoLocale, MeansNoMemoryForDoubles) {
  const TestDocument document({"[s]", "k = 1.5", "inf = -Inf"});
  g_refusesLocales = true;
  double value = 7;
  EXPECT_EQ(IniGetDouble(document, "s", "k", &value), -12);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(IniPutDouble(document, "s", "k", 2.5), -12);
  EXPECT_EQ(document.value("s", "k"), "1.5");
  EXPECT_EQ(IniGetDouble(document, "s", "inf", &value), 1) << "needs none";
  g_refusesLocales = false;
  EXPECT_EQ(IniGetDouble(document, "s", "k", &value), 1);
  EXPECT_EQ(value, 1.5);
}

}  // namespace
