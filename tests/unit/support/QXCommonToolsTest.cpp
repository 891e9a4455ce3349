#include <orvnetwork/support/QXCommonTools.h>

#include <gtest/gtest.h>

namespace orv::qx_common_tools_test {
namespace {

TEST(QXCommonTools, HashesTextAsThirtyTwoLowerCaseDigits) {
  EXPECT_EQ(QXCommonTools::md5HexDigest(""), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(QXCommonTools::md5HexDigest("abc"), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(QXCommonTools::md5HexDigest("密码"), "a8105204604a0b11e916f3879aae3b0b");
}

TEST(QXCommonTools, HashesOnlyWhatStandsBeforeAZeroByte) {
  EXPECT_EQ(QXCommonTools::md5HexDigest(std::string_view("abc\0def", 7)), QXCommonTools::md5HexDigest("abc"));
  EXPECT_EQ(QXCommonTools::md5HexDigest(std::string_view("\0abc", 4)), QXCommonTools::md5HexDigest(""));
}

TEST(QXCommonTools, CallsAbsenceAndTextOfLengthZeroEmpty) {
  EXPECT_TRUE(QXCommonTools::isEmptyString({}));
  EXPECT_TRUE(QXCommonTools::isEmptyString(nullptr));
  EXPECT_TRUE(QXCommonTools::isEmptyString(json::value(nullptr)));
  EXPECT_TRUE(QXCommonTools::isEmptyString(OptionalString()));
  EXPECT_TRUE(QXCommonTools::isEmptyString(""));
  EXPECT_FALSE(QXCommonTools::isEmptyString(" "));
  EXPECT_FALSE(QXCommonTools::isEmptyString("x"));
  EXPECT_FALSE(QXCommonTools::isEmptyString(std::string_view("\0", 1)));
}

TEST(QXCommonTools, CallsANullThatWasPutIntoAValueEmpty) {
  Object value("x");
  value->emplace_null();
  EXPECT_TRUE(QXCommonTools::isEmptyString(value));
  EXPECT_EQ(QXCommonTools::formatString(value), "");
}

TEST(QXCommonTools, CallsNoNumberAndNoBooleanEmpty) {
  EXPECT_FALSE(QXCommonTools::isEmptyString(0));
  EXPECT_FALSE(QXCommonTools::isEmptyString(0.0));
  EXPECT_FALSE(QXCommonTools::isEmptyString(false));
  EXPECT_FALSE(QXCommonTools::isEmptyString(7));
}

TEST(QXCommonTools, CallsContainersWithoutMembersEmpty) {
  EXPECT_TRUE(QXCommonTools::isEmptyString(json::array()));
  EXPECT_TRUE(QXCommonTools::isEmptyString(json::object()));
  EXPECT_FALSE(QXCommonTools::isEmptyString(json::array{nullptr}));
  EXPECT_FALSE(QXCommonTools::isEmptyString(json::object{{"a", nullptr}}));
}

TEST(QXCommonTools, FormatsAbsenceAsEmptyText) {
  EXPECT_EQ(QXCommonTools::formatString({}), "");
  EXPECT_EQ(QXCommonTools::formatString(nullptr), "");
  EXPECT_EQ(QXCommonTools::formatString(json::value(nullptr)), "");
}

TEST(QXCommonTools, FormatsEverythingElseAsItself) {
  EXPECT_EQ(QXCommonTools::formatString("text"), "text");
  EXPECT_EQ(QXCommonTools::formatString(""), "");
  EXPECT_EQ(QXCommonTools::formatString(7).get_int64(), 7);
  EXPECT_EQ(QXCommonTools::formatString(9.9).get_double(), 9.9);
  EXPECT_EQ(QXCommonTools::formatString(false).get_bool(), false);
  EXPECT_EQ(QXCommonTools::formatString(json::array{1, 2}), (json::value{1, 2}));
}

}  // namespace
}  // namespace orv::qx_common_tools_test
