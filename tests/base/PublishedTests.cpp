#include "base/Published.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace tavorin {
namespace {

TEST(Published, EverySubscriberIsToldTheNewValue) {
  Published<int> field(1);
  std::vector<int> a, b;
  auto subA = field.subscribe([&](const int& v) { a.push_back(v); });
  auto subB = field.subscribe([&](const int& v) { b.push_back(v); });
  field.set(2);
  field = 3;
  field.modify([](int& v) { v *= 10; });
  EXPECT_EQ(field.get(), 30);
  EXPECT_EQ(a, (std::vector<int>{2, 3, 30}));
  EXPECT_EQ(b, a);
}

TEST(Published, DroppingTheSubscriptionUnsubscribes) {
  Published<std::string> field;
  int calls = 0;
  {
    auto sub = field.subscribe([&](const std::string&) { ++calls; });
    field.set("a");
  }
  field.set("b");
  EXPECT_EQ(calls, 1);

  auto sub = field.subscribe([&](const std::string&) { ++calls; });
  sub.reset();
  field.set("c");
  EXPECT_EQ(calls, 1);
}

TEST(Published, ObserverRemovedDuringNotificationIsNotCalled) {
  Published<int> field;
  Subscription later;
  int laterCalls = 0;
  auto first = field.subscribe([&](const int&) { later.reset(); });
  later = field.subscribe([&](const int&) { ++laterCalls; });
  field.set(1);
  EXPECT_EQ(laterCalls, 0);
}

TEST(Published, ObserversMaySubscribeAndUnsubscribeThemselvesWhileBeingTold) {
  Published<int> field;
  Subscription self;
  std::vector<Subscription> added;
  int selfCalls = 0, nextCalls = 0, addedCalls = 0;
  self = field.subscribe([&](const int&) {
    ++selfCalls;
    self.reset();
    // Enough new observers that the list must grow while it is being walked.
    for (int i = 0; i < 16; ++i) added.push_back(field.subscribe([&](const int&) { ++addedCalls; }));
  });
  auto next = field.subscribe([&](const int&) { ++nextCalls; });
  field.set(1);
  EXPECT_EQ(selfCalls, 1);
  EXPECT_EQ(nextCalls, 1) << "the observer after one that left is still told";
  EXPECT_EQ(addedCalls, 0) << "joined after this notification began";
  field.set(2);
  EXPECT_EQ(selfCalls, 1);
  EXPECT_EQ(nextCalls, 2);
  EXPECT_EQ(addedCalls, 16);
}

TEST(Published, SubscriptionMayOutliveTheField) {
  Subscription sub;
  {
    auto field = std::make_unique<Published<int>>();
    sub = field->subscribe([](const int&) {});
  }
  // Unsubscribing must not touch the destroyed field; the sanitizer build catches it if it does.
  sub.reset();
}

}  // namespace
}  // namespace tavorin
