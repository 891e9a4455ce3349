#include <orvnetwork/data/Json.h>

#include "Printing.h"

#include <gtest/gtest.h>
#include <orvnetwork_qt/Convert.h>

#include <QVariantList>
#include <QVariantMap>
#include <cstdint>
#include <limits>
#include <string_view>

namespace orv::convert_test {
namespace {

TEST(QtConvert, TextsGoBothWays) {
  EXPECT_EQ(qt::text(std::string_view("课程 x²")).size(), 5);
  EXPECT_EQ(qt::utf8(qt::text(std::string_view("课程 x²"))), "课程 x²");
  EXPECT_TRUE(qt::text(OptionalString()).isNull());
  EXPECT_FALSE(qt::text(OptionalString("")).isNull());
  EXPECT_EQ(qt::text(std::string_view("a\xff")), QString("a") + QChar(0xFFFD));
}

TEST(QtConvert, JsonKeepsItsKinds) {
  const json::value value = {{"whole", -5},
                             {"large", std::numeric_limits<std::uint64_t>::max()},
                             {"part", 0.5},
                             {"yes", true},
                             {"text", "课"},
                             {"nothing", nullptr},
                             {"list", json::array{1, "a"}}};
  const QVariantMap map = qt::variant(value).toMap();
  EXPECT_EQ(map.size(), 7);
  EXPECT_EQ(map["whole"].toLongLong(), -5);
  EXPECT_EQ(map["large"].toULongLong(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(map["part"].toDouble(), 0.5);
  EXPECT_EQ(map["yes"].typeId(), QMetaType::Bool);
  EXPECT_TRUE(map["yes"].toBool());
  EXPECT_EQ(map["text"].toString(), "课");
  EXPECT_FALSE(map["nothing"].isValid());
  EXPECT_EQ(map["list"].toList(), (QVariantList{1LL, "a"}));
}

}  // namespace
}  // namespace orv::convert_test
