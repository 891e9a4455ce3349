// What a host is handed is a value like any other: it is copied, kept, changed and dropped on two threads at once. The
// thread sanitizer looks on.

#include <orvnetwork/data/Json.h>

#include <tests/support/HostValues.h>

#include <boost/json/serialize.hpp>

#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace orv::shared_values_test {
namespace {

constexpr int kCopies = 150;

/// Copies a value, changes the copies and drops them, on two threads at once; those that one thread makes are dropped
/// by the other.
void useOnTwoThreads(const json::value& kept) {
  const std::string text = json::serialize(kept);
  std::vector<json::value> made[2];
  const auto work = [&](std::size_t thread) {
    for (int i = 0; i < kCopies; ++i) {
      made[thread].push_back(kept);
      made[thread].back().as_object().insert_or_assign("changed", "a text that has to lie somewhere else");
      made[thread].back().as_object()["data"] = json::array{1, 2, 3};
      const std::function<std::string()> copied = [v = kept] { return json::serialize(v); };
      EXPECT_EQ(copied(), text);
    }
  };
  std::thread other(work, 1);
  work(0);
  other.join();
  std::thread dropping([&] { made[0].clear(); });
  made[1].clear();
  dropping.join();
  EXPECT_EQ(json::serialize(kept), text);
}

class SharedValues : public HostValues {};

TEST_F(SharedValues, APartOfAReplyIsUsedOnTwoThreads) {
  useOfAReply(useOnTwoThreads);
}

TEST_F(SharedValues, APartOfANotificationIsUsedOnTwoThreads) {
  useOfANotification(useOnTwoThreads);
}

TEST_F(SharedValues, TheReplyOfACallThroughTheRegistryIsUsedOnTwoThreads) {
  useOfACallThroughTheRegistry(useOnTwoThreads);
}

TEST_F(SharedValues, ADictionaryOfARecordIsUsedOnTwoThreads) {
  useOfARecord(useOnTwoThreads);
}

TEST_F(SharedValues, AParsedTextIsUsedOnTwoThreads) {
  useOfAParsedText(useOnTwoThreads);
}

}  // namespace
}  // namespace orv::shared_values_test
