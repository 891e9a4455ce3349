#include <orvnetwork/data/Result.h>

#include <gtest/gtest.h>

#include <memory>

namespace orv::result_test {
namespace {

Error wrong() {
  return {"Test", 7, "it is wrong"};
}

/// Counts how often a value is copied.
struct Counted {
  Counted() = default;
  Counted(const Counted& other) : copies(other.copies + 1) {}
  Counted(Counted&&) = default;
  Counted& operator=(const Counted&) = delete;
  Counted& operator=(Counted&&) = default;
  int copies = 0;
};

Result<Counted> makeCounted() {
  Counted counted;
  return counted;
}

TEST(Result, HoldsAValueOrAnError) {
  const Result<int> good = 5;
  ASSERT_TRUE(good);
  EXPECT_EQ(*good, 5);
  EXPECT_EQ(good.value(), 5);

  const Result<int> bad = wrong();
  ASSERT_FALSE(bad);
  EXPECT_EQ(bad.error(), wrong());
}

TEST(Result, IsMadeFromWhatConvertsToItsValue) {
  const Result<std::string> text = "abc";
  EXPECT_EQ(text->size(), 3U);
  const Result<json::value> dictionary = json::object{{"a", 1}};
  EXPECT_TRUE(dictionary->is_object());
  static_assert(!std::convertible_to<std::string, Result<int>>);
  static_assert(!std::convertible_to<Result<int>, bool>, "a failure is not taken for the value `false`");
}

TEST(Result, KeepsAnEmptyValueApartFromAFailure) {
  const Result<std::string> empty = std::string();
  EXPECT_TRUE(empty);
  const Result<bool> no = false;
  EXPECT_TRUE(no);
  EXPECT_FALSE(*no);
  const Result<json::value> null = json::value();
  EXPECT_TRUE(null);
}

TEST(Result, GivesTheFallbackOnlyInPlaceOfAMissingValue) {
  EXPECT_EQ(Result<std::string>("abc").valueOr("none"), "abc");
  EXPECT_EQ(Result<std::string>(wrong()).valueOr("none"), "none");
  const Result<std::string> kept = "abc";
  EXPECT_EQ(kept.valueOr("none"), "abc");
  EXPECT_EQ(*kept, "abc");
}

TEST(Result, MovesItsValueInAndOutWithoutACopy) {
  Result<Counted> result = makeCounted();
  EXPECT_EQ(result->copies, 0);
  EXPECT_EQ((*std::move(result)).copies, 0);
  EXPECT_EQ(makeCounted().value().copies, 0);
  EXPECT_EQ(makeCounted().valueOr(Counted()).copies, 0);

  Result<std::unique_ptr<int>> owner = std::make_unique<int>(3);
  const std::unique_ptr<int> taken = *std::move(owner);
  EXPECT_EQ(*taken, 3);
}

TEST(Result, LetsItsValueBeChanged) {
  Result<std::string> text = "abc";
  *text += "d";
  text->push_back('e');
  text.value() += "f";
  EXPECT_EQ(text, "abcdef");
  text = wrong();
  EXPECT_FALSE(text);
  text = "again";
  EXPECT_EQ(text, "again");
}

TEST(Result, IsEqualWhenWhatItHoldsIs) {
  EXPECT_EQ(Result<int>(5), Result<int>(5));
  EXPECT_NE(Result<int>(5), Result<int>(6));
  EXPECT_NE(Result<int>(5), Result<int>(wrong()));
  EXPECT_EQ(Result<int>(wrong()), Result<int>(wrong()));
  EXPECT_NE(Result<int>(wrong()), Result<int>(Error{"Test", 8, "it is wrong"}));
}

TEST(Result, EndsTheProgramWhenTheValueOfAFailureIsTakenForGranted) {
  EXPECT_DEATH(static_cast<void>(Result<int>(wrong()).value()), "holds an error: Test 7: it is wrong");
}

}  // namespace
}  // namespace orv::result_test
