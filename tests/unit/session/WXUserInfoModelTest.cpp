#include <orvnetwork/data/Json.h>
#include <orvnetwork/session/WXUserInfoModel.h>

#include <gtest/gtest.h>

#include <optional>
#include <string_view>

namespace orv::wx_user_info_model_test {
namespace {

constexpr std::string_view kProfile =
    R"({"openid":"o6_bmj","city":"Hangzhou","country":"CN","nickname":"Lin","privilege":["a",{"b":null},7],)"
    R"("language":"zh_CN","headimgurl":"https://pictures.example.com/1/0","unionid":"u-1","sex":2,)"
    R"("province":"Zhejiang"})";

std::shared_ptr<WXUserInfoModel> profile() {
  return makeRecord<WXUserInfoModel>(parseJson(kProfile)->get_object());
}

TEST(WXUserInfoModel, IsFilledFromAProfileAndWrittenInTheOrderOfItsFields) {
  const auto user = profile();
  EXPECT_EQ(user->openid.get(), "o6_bmj");
  EXPECT_EQ(user->city.get(), "Hangzhou");
  EXPECT_EQ(user->country.get(), "CN");
  EXPECT_EQ(user->nickname.get(), "Lin");
  EXPECT_EQ(user->privilege.get(), (json::array{"a", {{"b", nullptr}}, 7}));
  EXPECT_EQ(user->language.get(), "zh_CN");
  EXPECT_EQ(user->headimgurl.get(), "https://pictures.example.com/1/0");
  EXPECT_EQ(user->unionid.get(), "u-1");
  EXPECT_EQ(user->sex.get(), 2);
  EXPECT_EQ(user->province.get(), "Zhejiang");
  EXPECT_EQ(writeJsonCompact(user->jsonObject()).value(), kProfile);
}

TEST(WXUserInfoModel, StartsWithoutAnything) {
  EXPECT_EQ(writeJsonCompact(WXUserInfoModel().jsonObject()).value(), R"({"sex":0})");
}

TEST(WXUserInfoModel, TakesPrivilegesOnlyAsAnArray) {
  const auto user = profile();
  user->merge(json::object{{"privilege", "a"}});
  EXPECT_EQ(user->privilege.get()->size(), 3u);
  user->merge(json::object{{"privilege", json::array()}});
  EXPECT_EQ(user->privilege.get(), json::array());
  user->merge(json::object{{"privilege", nullptr}});
  EXPECT_EQ(user->privilege.get(), std::nullopt);
}

TEST(WXUserInfoModel, IsEqualToNothingButItselfAndNotArchived) {
  const auto one = profile();
  EXPECT_TRUE(one->isEqual(one.get()));
  EXPECT_FALSE(one->isEqual(profile().get()));
  EXPECT_FALSE(one->isArchivable());
}

}  // namespace
}  // namespace orv::wx_user_info_model_test
