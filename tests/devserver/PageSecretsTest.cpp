#include "devserver/page/Secrets.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

namespace orv::devserver {
namespace {

namespace json = boost::json;

std::string hidden(std::string_view text) {
  json::value value = json::parse({text.data(), text.size()});
  hideSecrets(value);
  return json::serialize(value);
}

TEST(PageSecrets, AreHiddenByNameAtEveryLevelWhateverTheirKind) {
  EXPECT_EQ(
      hidden(R"({"pwd":"a","pass":1,"passwd":[1,{"x":2}],"opwd":null,"npwd":{},"token":"b","scode":"c"})"),
      R"({"pwd":"***","pass":"***","passwd":"***","opwd":"***","npwd":"***","token":"***","scode":"***"})");
  EXPECT_EQ(hidden(R"({"v":[{"Token":"a"},{"TOKEN":"b"}]})"), R"({"v":[{"Token":"***"},{"TOKEN":"***"}]})");
  EXPECT_EQ(hidden(R"("{\"pwd\":\"a\"}")"), R"("{\"pwd\":\"***\"}")");
}

TEST(PageSecrets, NamesThatOnlyLookAlikeStay) {
  const std::string text = R"({"tokens":1,"passport":"a","mypwd":"b","password":"c","phone":"138"})";
  EXPECT_EQ(hidden(text), text);
  EXPECT_EQ(hideSecretsInText("pass the token, compass: 3"), "pass the token, compass: 3");
}

TEST(PageSecrets, AreFoundInTextThatIsNoJson) {
  EXPECT_EQ(hideSecretsInText(R"({"pwd":"a b","n":1)"), R"({"pwd":"***","n":1)");
  EXPECT_EQ(hideSecretsInText(R"({"pwd" : "a)"), R"({"pwd" : "***")");
  EXPECT_EQ(hideSecretsInText(R"({"pwd":"a\"b\\","n":1)"), R"({"pwd":"***","n":1)");
  EXPECT_EQ(hideSecretsInText(R"({\"pwd\":\"a\",\"n\":1)"), R"({\"pwd\":\"***\",\"n\":1)");
  EXPECT_EQ(hideSecretsInText("a=1&token=abc&b=2"), "a=1&token=***&b=2");
  EXPECT_EQ(hideSecretsInText(R"(\ntoken: abc; x)"), R"(\ntoken: ***; x)");
  EXPECT_EQ(hideSecretsInText("TOKEN = 5, x"), "TOKEN = ***, x");
}

TEST(PageSecrets, WhatHasNoEndTakesTheRestWithIt) {
  EXPECT_EQ(hideSecretsInText(R"(x {"token":{"a":"b"},"n":1)"), R"(x {"token":***)");
  EXPECT_EQ(hideSecretsInText("pwd='a b'"), "pwd=***");
  EXPECT_EQ(hideSecretsInText("token="), "token=***");
}

TEST(PageSecrets, NothingIsReadBeyondTheEnd) {
  const std::string text = R"(\\\"pwd\\\":\\\"a\"b\",\ntoken=[{"scode":"\)";
  for (std::size_t size = 0; size <= text.size(); ++size) {
    const std::string part = text.substr(0, size);
    EXPECT_LE(hideSecretsInText(part).size(), part.size() + 3 * kHiddenSecret.size());
  }
}

}  // namespace
}  // namespace orv::devserver
