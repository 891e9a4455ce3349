#include <orvnetwork/data/Secrets.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

namespace orv::secrets_test {
namespace {

std::string hiddenJson(std::string_view text) {
  json::value value = json::parse({text.data(), text.size()});
  hideSecretsInPlace(value);
  return json::serialize(value);
}

TEST(Secrets, AreHiddenUnderEveryNameInADescribedDictionary) {
  for (const char* key : {"pwd", "pass", "passwd", "opwd", "npwd", "token", "scode"}) {
    const std::string name(key);
    EXPECT_EQ(hideSecrets("dictValues={\n    " + name + " = 5f4dcc3b;\n    type = 1;\n}"),
              "dictValues={\n    " + name + " = ***;\n    type = 1;\n}");
    EXPECT_EQ(hideSecrets("{\n    " + name + " = \"a b;\\\"c\";\n    type = 1;\n}"),
              "{\n    " + name + " = \"***\";\n    type = 1;\n}");
  }
}

TEST(Secrets, AreHiddenUnderEveryNameInTheTextOfJson) {
  for (const char* key : {"pwd", "pass", "passwd", "opwd", "npwd", "token", "scode"}) {
    const std::string name(key);
    EXPECT_EQ(hideSecrets("{\"" + name + "\" : \"sec\\\"ret\",\"n\":1}"),
              "{\"" + name + "\" : \"***\",\"n\":1}");
    EXPECT_EQ(hideSecrets("{\"" + name + "\":123456,\"n\":1}"), "{\"" + name + "\":***,\"n\":1}");
  }
}

TEST(Secrets, AreHiddenInTextsThatAreEscapedAnyNumberOfTimes) {
  EXPECT_EQ(hideSecrets(R"({"text":"{\"pwd\" : \"a\\\"b\",\"n\":1}"})"),
            R"({"text":"{\"pwd\" : \"***\",\"n\":1}"})");
  EXPECT_EQ(hideSecrets(R"({"text":"{\"pwd\":17}"})"), R"({"text":"{\"pwd\":***}"})");
  EXPECT_EQ(hideSecrets(R"("\\\"token\\\":\\\"ab\\\\\\\"c\\\",\\\"n\\\":1")"),
            R"("\\\"token\\\":\\\"***\\\",\\\"n\\\":1")");
  EXPECT_EQ(hideSecrets(R"(frame = "{\n  \"token\" : \"abc\",\n  \"n\" : 1\n}";)"),
            R"(frame = "{\n  \"token\" : \"***\",\n  \"n\" : 1\n}";)");
  EXPECT_EQ(hideSecrets(R"(text = "{\n    pwd = abc;\n    n = 1;\n}";)"),
            R"(text = "{\n    pwd = ***;\n    n = 1;\n}";)");
  EXPECT_EQ(hideSecrets(R"(\ntoken: abc; x)"), R"(\ntoken: ***; x)");
  EXPECT_EQ(hideSecrets(R"(\ftoken\n: abc; x)"), R"(\ftoken\n: ***; x)");
  EXPECT_EQ(hideSecrets(R"(pwd=a\b\\c\n x)"), R"(pwd=***\n x)") << "a backslash alone ends no word";
}

TEST(Secrets, TextThatEndsInBackslashesEndsWhereItEnds) {
  EXPECT_EQ(hideSecrets(R"({"pwd":"a\\","n":"shown"})"), R"({"pwd":"***","n":"shown"})");
  EXPECT_EQ(hideSecrets(R"({"pwd":"a\\\"b","n":"shown"})"), R"({"pwd":"***","n":"shown"})");
}

TEST(Secrets, TextThatIsCutShortInsideAnotherEndsWithThat) {
  EXPECT_EQ(hideSecrets(R"({"text":"{\"pwd\":\"ab","n":1})"), R"({"text":"{\"pwd\":\"***\"","n":1})");
}

TEST(Secrets, WholeArraysAndDictionariesAreHidden) {
  EXPECT_EQ(hideSecrets(R"({"token":{"a":"}","b":["x"]},"n":1})"), R"({"token":***,"n":1})");
  EXPECT_EQ(hideSecrets("{\n    token =     (\n        a,\n        \"b)\"\n    );\n    n = 1;\n}"),
            "{\n    token =     ***;\n    n = 1;\n}");
  EXPECT_EQ(hideSecrets(R"({"text":"{\"token\":{\"a\":[1]},\"n\":1}"})"),
            R"({"text":"{\"token\":***,\"n\":1}"})");
  EXPECT_EQ(hideSecrets(R"-({"scode":{"x":")"},"a":[2],"token":[1],"n":1})-"),
            R"({"scode":***,"a":[2],"token":***,"n":1})")
      << "brackets inside what is hidden do not count";
}

TEST(Secrets, AreHiddenInAddresses) {
  EXPECT_EQ(hideSecrets("ws://127.0.0.1/?token=abc&n=1"), "ws://127.0.0.1/?token=***&n=1");
  EXPECT_EQ(hideSecrets("a=1&token=abc&b=2"), "a=1&token=***&b=2");
}

TEST(Secrets, AreHiddenWhateverTheCaseOfTheName) {
  EXPECT_EQ(hideSecrets(R"({"Token":"abc"})"), R"({"Token":"***"})");
  EXPECT_EQ(hideSecrets("TOKEN = 5, x"), "TOKEN = ***, x");
}

TEST(Secrets, TextThatIsCutShortIsHiddenToItsEnd) {
  EXPECT_EQ(hideSecrets(R"({"pwd":"abc)"), R"({"pwd":"***")");
  EXPECT_EQ(hideSecrets(R"({"pwd" : "a)"), R"({"pwd" : "***")");
  EXPECT_EQ(hideSecrets("pwd = abc"), "pwd = ***");
  EXPECT_EQ(hideSecrets("pwd = "), "pwd = ***");
  EXPECT_EQ(hideSecrets("token="), "token=***");
}

TEST(Secrets, AreFoundInTheBeginningOfJson) {
  EXPECT_EQ(hideSecrets(R"({"pwd":"a b","n":1)"), R"({"pwd":"***","n":1)");
  EXPECT_EQ(hideSecrets(R"({"pwd":"a\"b\\","n":1)"), R"({"pwd":"***","n":1)");
  EXPECT_EQ(hideSecrets(R"({\"pwd\":\"a\",\"n\":1)"), R"({\"pwd\":\"***\",\"n\":1)");
}

TEST(Secrets, WhatHasNoEndTakesTheRestWithIt) {
  EXPECT_EQ(hideSecrets(R"(x {"token":{"a":"b"},"n":1)"), R"(x {"token":***)");
  EXPECT_EQ(hideSecrets(R"({"token":{"a":1],"n":1}})"), R"({"token":***)");
  EXPECT_EQ(hideSecrets(R"({"token":{'a':'}b'},"n":1})"), R"({"token":***)");
  EXPECT_EQ(hideSecrets("{token = (a); text = b); n = 1;}"), "{token = ***") << "which of them ends it?";
  EXPECT_EQ(hideSecrets(R"(token=\x y)"), "token=***");
}

TEST(Secrets, SingleQuotesDoNotTellWhereAValueEnds) {
  EXPECT_EQ(hideSecrets("pwd='a b'"), "pwd=***");
  EXPECT_EQ(hideSecrets("pwd: 'two words' rest"), "pwd: ***");
  EXPECT_EQ(hideSecrets("{'pwd': 'it's', 'n': 1}"), "{'pwd': ***");
  EXPECT_EQ(hideSecrets(R"({'pwd' : "a b", 'n': 1})"), R"({'pwd' : "***", 'n': 1})");
  EXPECT_EQ(hideSecrets(R"({\'pwd\': 17, \'n\': 1})"), R"({\'pwd\': ***, \'n\': 1})");
}

TEST(Secrets, TheRestStaysAsItIs) {
  for (const char* text : {"", "pass", "the token is lost", "password = shown;", "{\"tokens\":\"shown\"}",
                           "compass = north;", "{\"name\":\"token\",\"n\":1}", "a token, \"pwd\" and more",
                           "pass the token, compass: 3", "it's 'shown'"}) {
    EXPECT_EQ(hideSecrets(text), text);
  }
}

TEST(Secrets, NothingIsReadBeyondTheEnd) {
  const std::string text = R"(\\\"pwd\\\":\\\"a\"b\",\ntoken=[{"scode":"\)";
  for (std::size_t size = 0; size <= text.size(); ++size) {
    const std::string part = text.substr(0, size);
    EXPECT_LE(hideSecrets(part).size(), part.size() + 3 * kHiddenSecret.size());
  }
}

TEST(Secrets, AreHiddenInJsonValuesAtEveryLevelWhateverTheirKind) {
  EXPECT_EQ(
      hiddenJson(
          R"({"pwd":"a","pass":1,"passwd":[1,{"x":2}],"opwd":null,"npwd":{},"token":"b","scode":"c"})"),
      R"({"pwd":"***","pass":"***","passwd":"***","opwd":"***","npwd":"***","token":"***","scode":"***"})");
  EXPECT_EQ(hiddenJson(R"({"v":[{"Token":"a"},{"TOKEN":"b"}]})"),
            R"({"v":[{"Token":"***"},{"TOKEN":"***"}]})");
  EXPECT_EQ(hiddenJson(R"("{\"pwd\":\"a\"}")"), R"("{\"pwd\":\"***\"}")");
}

TEST(Secrets, NamesThatOnlyLookAlikeStayInJsonValues) {
  const std::string text = R"({"tokens":1,"passport":"a","mypwd":"b","password":"c","phone":"138"})";
  EXPECT_EQ(hiddenJson(text), text);
}

TEST(Secrets, HaveNames) {
  for (const char* name : {"pwd", "pass", "passwd", "opwd", "npwd", "token", "scode", "PWD", "Token"}) {
    EXPECT_TRUE(isSecretName(name)) << name;
  }
  for (const char* name : {"", "pw", "tokens", "password", "another"}) {
    EXPECT_FALSE(isSecretName(name)) << name;
  }
  EXPECT_TRUE(isSecretName("PassWord", "password"));
  EXPECT_FALSE(isSecretName("", ""));
}

}  // namespace
}  // namespace orv::secrets_test
