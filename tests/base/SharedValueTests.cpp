#include "base/SharedValue.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavorin {
namespace {

TEST(SharedValue, CopiesShareUntilOneIsEdited) {
  SharedValue<std::vector<int>> a = std::vector<int>{1, 2};
  SharedValue<std::vector<int>> b = a;
  EXPECT_EQ(&*a, &*b) << "a copy moves a reference, not the vector";

  b.edit().push_back(3);
  EXPECT_EQ(*a, (std::vector<int>{1, 2})) << "an edit never reaches the other holder";
  EXPECT_EQ(*b, (std::vector<int>{1, 2, 3}));
  const int* alone = b->data();
  b.edit()[0] = 9;
  EXPECT_EQ(b->data(), alone) << "a sole holder edits in place";

  EXPECT_EQ(a, (SharedValue<std::vector<int>>(std::vector<int>{1, 2}))) << "equal values held apart are equal";
  EXPECT_NE(a, b);
  a.reset();
  EXPECT_EQ(a, SharedValue<std::vector<int>>(std::vector<int>{}));
  EXPECT_TRUE(a->empty());
}

}  // namespace
}  // namespace tavorin
