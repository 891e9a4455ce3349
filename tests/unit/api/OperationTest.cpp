#include <orvnetwork/api/Operation.h>

#include <gtest/gtest.h>

namespace orv::operation_test {
namespace {

/// An operation that counts its calls and keeps what it was called with.
class OperationTest : public ::testing::Test {
 protected:
  OperationTest() {
    operation.name = "enrol:seats:note:completeBlock:timeoutBlock:";
    operation.command = "Course.User.Enroll";
    operation.parameters = {{"roomID", ArgumentKind::Text, true},
                            {"seats", ArgumentKind::Integer, true},
                            {"note", ArgumentKind::Any, false}};
    operation.call = [this](const std::vector<Object>& arguments, const CompleteBlock& completeBlock,
                            const TimeoutBlock& timeoutBlock) {
      calls.push_back(&arguments);
      callbacks += (completeBlock ? 1 : 0) + (timeoutBlock ? 1 : 0);
    };
  }

  Operation operation;
  std::vector<const std::vector<Object>*> calls;
  int callbacks = 0;
};

constexpr std::string_view kSignature =
    "enrol:seats:note:completeBlock:timeoutBlock: (roomID: text, seats: integer, note: any value or null)";

TEST_F(OperationTest, FindsNothingWrongWithArgumentsThatFit) {
  EXPECT_EQ(operation.problemWith({"8", 2}), "") << "missing trailing arguments are absent";
  EXPECT_EQ(operation.problemWith({"8", 2, nullptr}), "");
  EXPECT_EQ(operation.problemWith({"8", 2, json::array{1}}), "");
}

TEST_F(OperationTest, SaysWhatIsWrongWithArguments) {
  const std::string signature(kSignature);
  EXPECT_EQ(operation.problemWith({}), "argument 1 (roomID) must be text, got nothing: " + signature);
  EXPECT_EQ(operation.problemWith({"8"}), "argument 2 (seats) must be integer, got nothing: " + signature);
  EXPECT_EQ(operation.problemWith({8, 2}), "argument 1 (roomID) must be text, got a number: " + signature);
  EXPECT_EQ(operation.problemWith({"8", "2"}), "argument 2 (seats) must be integer, got text: " + signature);
  EXPECT_EQ(operation.problemWith({"8", 2, "n", 4}), "at most 3 arguments expected, got 4: " + signature);
}

TEST_F(OperationTest, CallsNothingToFindOut) {
  operation.problemWith({"8", 2});
  operation.problemWith({8, 2});
  EXPECT_TRUE(calls.empty());
}

TEST_F(OperationTest, InvokesWithTheVeryArgumentsAndBothCallbacks) {
  const std::vector<Object> arguments{"8", 2};
  EXPECT_EQ(operation.invoke(
                arguments, [](const auto&, bool, const json::object&) {}, [](const auto&) {}),
            "");
  EXPECT_EQ(calls, std::vector<const std::vector<Object>*>{&arguments}) << "nothing is copied";
  EXPECT_EQ(callbacks, 2);
}

TEST_F(OperationTest, RefusesToInvokeWithWhatItFindsAProblemWith) {
  for (const std::vector<Object>& arguments :
       {std::vector<Object>{}, {"8"}, {8, 2}, {"8", 2.5}, {"8", 2, "n", nullptr}}) {
    const std::string problem = operation.problemWith(arguments);
    EXPECT_NE(problem, "");
    EXPECT_EQ(operation.invoke(arguments, nullptr, nullptr), problem);
  }
  EXPECT_TRUE(calls.empty());
}

TEST_F(OperationTest, ShowsItsSignature) {
  EXPECT_EQ(operation.signature(), kSignature);
}

}  // namespace
}  // namespace orv::operation_test
