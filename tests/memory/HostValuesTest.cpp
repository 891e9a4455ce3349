// What a host does with the values that it is handed takes no memory when it is done: it keeps a part, and copies that
// again and again, changes it and drops it.

#include <orvnetwork/data/Json.h>

#include <tests/memory/HeldMemory.h>
#include <tests/support/HostValues.h>

#include <string>

namespace orv::host_values_test {
namespace {

constexpr int kCopies = 3000;

/// The value is one like any other: copying it, by whatever road, leaves nothing behind.
void expectOrdinary(const json::value& kept) {
  EXPECT_TRUE(kept.storage() == json::storage_ptr());
  const std::size_t before = test::heldBytes();
  for (int i = 0; i < kCopies; ++i) {
    auto copied = kept;
    const auto captured = [v = copied] { return v.as_object().size(); };
    EXPECT_GT(captured(), 0u);
    copied.as_object().insert_or_assign("added", std::string(100, 'a'));
  }
  const std::size_t after = test::heldBytes();
  EXPECT_LT(after, before + 100'000) << "copies that are gone hold memory";
}

class HostValuesMemory : public HostValues {};

TEST_F(HostValuesMemory, CopiesOfAPartOfAReplyLeaveNothingBehind) {
  useOfAReply(expectOrdinary);
}

TEST_F(HostValuesMemory, CopiesOfAPartOfANotificationLeaveNothingBehind) {
  useOfANotification(expectOrdinary);
}

TEST_F(HostValuesMemory, CopiesOfTheReplyOfACallThroughTheRegistryLeaveNothingBehind) {
  useOfACallThroughTheRegistry(expectOrdinary);
}

TEST_F(HostValuesMemory, CopiesOfADictionaryOfARecordLeaveNothingBehind) {
  useOfARecord(expectOrdinary);
}

TEST_F(HostValuesMemory, CopiesOfAParsedTextLeaveNothingBehind) {
  useOfAParsedText(expectOrdinary);
}

}  // namespace
}  // namespace orv::host_values_test
