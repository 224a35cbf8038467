#include "kit/DLLObject.h"

#include <gtest/gtest.h>

namespace {

using namespace qv::kit;

struct Counted {
  explicit Counted(int number) : value(number) {
    if (number < 0) throw number;
    ++alive;
  }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --alive; }

  int value;
  static int alive;
};
int Counted::alive = 0;

TEST(MakeDLLObject, ConstructsAndEndsTheObject) {
  {
    const DLLPointer<Counted> object = MakeDLLObject<Counted>(3);
    EXPECT_EQ(object->value, 3);
    EXPECT_EQ(Counted::alive, 1);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(MakeDLLObject, LetsTheExceptionOfTheConstructionPass) {
  EXPECT_THROW(MakeDLLObject<Counted>(-1), int);
  EXPECT_EQ(Counted::alive, 0);
}

TEST(DLLPointer, IsAsLargeAsAPointer) {
  EXPECT_EQ(sizeof(DLLPointer<int>), sizeof(int*));
}

}  // namespace
