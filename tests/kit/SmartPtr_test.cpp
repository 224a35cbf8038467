#include "kit/SmartPtr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using qv::kit::SmartPtr;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> g_Calls;

/// Writes down what happens to its references.
struct Object {
  explicit Object(std::string objectName, bool objectRefuses = false)
      : name(std::move(objectName)), refuses(objectRefuses) {}

  void addRef() { call("addRef"); }
  void release() { call("release"); }
  void call(const std::string& operation) const {
    g_Calls.push_back(operation + " " + name);
    if (refuses) throw std::runtime_error(operation);
  }

  std::string name;
  bool refuses;
};

struct SmartPtrTest : testing::Test {
  SmartPtrTest() { g_Calls.clear(); }
};

TEST_F(SmartPtrTest, IsNullByDefaultAndTouchesNothing) {
  {
    const SmartPtr<Object> none;
    const SmartPtr<Object> null(nullptr);
    const SmartPtr<Object> copy(null);
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_FALSE(copy);
  }
  EXPECT_THAT(g_Calls, IsEmpty());
}

TEST_F(SmartPtrTest, AddsAReferenceToWhatItIsGivenAndReleasesItInTheEnd) {
  Object object("a");
  {
    const SmartPtr<Object> pointer(&object);
    EXPECT_THAT(g_Calls, ElementsAre("addRef a"));
    EXPECT_EQ(pointer.get(), &object);
    EXPECT_EQ(&*pointer, &object);
    EXPECT_EQ(pointer->name, "a");
    EXPECT_TRUE(pointer);
  }
  EXPECT_THAT(g_Calls, ElementsAre("addRef a", "release a"));
}

TEST_F(SmartPtrTest, CopiesHoldReferencesOfTheirOwn) {
  Object object("a");
  {
    const SmartPtr<Object> pointer(&object);
    const SmartPtr<Object> copy(pointer);
    EXPECT_THAT(g_Calls, ElementsAre("addRef a", "addRef a"));
  }
  EXPECT_THAT(g_Calls, ElementsAre("addRef a", "addRef a", "release a", "release a"));
}

TEST_F(SmartPtrTest, AssignmentAddsTheNewReferenceBeforeTheFormerIsReleased) {
  Object a("a");
  Object b("b");
  SmartPtr<Object> pointer(&a);
  const SmartPtr<Object> other(&b);
  g_Calls.clear();
  pointer = other;
  EXPECT_EQ(pointer.get(), &b);
  EXPECT_THAT(g_Calls, ElementsAre("addRef b", "release a"));
}

TEST_F(SmartPtrTest, AssignmentToItselfKeepsTheObject) {
  Object object("a");
  SmartPtr<Object> pointer(&object);
  const SmartPtr<Object>& same = pointer;
  g_Calls.clear();
  pointer = same;
  EXPECT_EQ(pointer.get(), &object);
  EXPECT_THAT(g_Calls, ElementsAre("addRef a", "release a"));
}

TEST_F(SmartPtrTest, AssignmentOfNullReleases) {
  Object object("a");
  SmartPtr<Object> pointer(&object);
  g_Calls.clear();
  pointer = SmartPtr<Object>();
  EXPECT_FALSE(pointer);
  EXPECT_THAT(g_Calls, ElementsAre("release a"));
}

TEST_F(SmartPtrTest, SwapMovesReferencesWithoutCounting) {
  Object a("a");
  Object b("b");
  SmartPtr<Object> first(&a);
  SmartPtr<Object> second(&b);
  g_Calls.clear();
  first.swap(second);
  EXPECT_EQ(first.get(), &b);
  EXPECT_EQ(second.get(), &a);
  EXPECT_THAT(g_Calls, IsEmpty());
}

TEST_F(SmartPtrTest, IsNullForAnObjectThatRefusesAReferenceAndReleasesNone) {
  Object object("a", true);
  { EXPECT_FALSE(SmartPtr<Object>(&object)); }
  EXPECT_THAT(g_Calls, ElementsAre("addRef a"));
}

TEST_F(SmartPtrTest, LetsNoExceptionOutOfARelease) {
  Object object("a");
  {
    const SmartPtr<Object> pointer(&object);
    object.refuses = true;
  }
  EXPECT_THAT(g_Calls, ElementsAre("addRef a", "release a"));
}

TEST_F(SmartPtrTest, IsAsLargeAsAPointer) {
  EXPECT_EQ(sizeof(SmartPtr<Object>), sizeof(Object*));
}

}  // namespace
