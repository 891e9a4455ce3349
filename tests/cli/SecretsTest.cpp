// Passwords, codes and tokens stay out of what the program shows.

#include "Program.h"

#include <cli/Secrets.h>
#include <devserver/DevServer.h>
#include <devserver/school/School.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace orv::test {
namespace {

using cli::hideSecrets;

TEST(HideSecrets, HidesEveryKeyInADescribedDictionary) {
  for (const char* key : {"pwd", "pass", "passwd", "opwd", "npwd", "token", "scode"}) {
    const std::string name(key);
    EXPECT_EQ(hideSecrets("dictValues={\n    " + name + " = 5f4dcc3b;\n    type = 1;\n}"),
              "dictValues={\n    " + name + " = ***;\n    type = 1;\n}");
    EXPECT_EQ(hideSecrets("{\n    " + name + " = \"a b;\\\"c\";\n    type = 1;\n}"),
              "{\n    " + name + " = \"***\";\n    type = 1;\n}");
  }
}

TEST(HideSecrets, HidesEveryKeyInJson) {
  for (const char* key : {"pwd", "pass", "passwd", "opwd", "npwd", "token", "scode"}) {
    const std::string name(key);
    EXPECT_EQ(hideSecrets("{\"" + name + "\" : \"sec\\\"ret\",\"n\":1}"),
              "{\"" + name + "\" : \"***\",\"n\":1}");
    EXPECT_EQ(hideSecrets("{\"" + name + "\":123456,\"n\":1}"), "{\"" + name + "\":***,\"n\":1}");
  }
}

TEST(HideSecrets, HidesInsideTextsThatAreEscapedAnyNumberOfTimes) {
  EXPECT_EQ(hideSecrets(R"({"text":"{\"pwd\" : \"a\\\"b\",\"n\":1}"})"),
            R"({"text":"{\"pwd\" : \"***\",\"n\":1}"})");
  EXPECT_EQ(hideSecrets(R"({"text":"{\"pwd\":17}"})"), R"({"text":"{\"pwd\":***}"})");
  EXPECT_EQ(hideSecrets(R"("\\\"token\\\":\\\"ab\\\\\\\"c\\\",\\\"n\\\":1")"),
            R"("\\\"token\\\":\\\"***\\\",\\\"n\\\":1")");
  EXPECT_EQ(hideSecrets(R"(frame = "{\n  \"token\" : \"abc\",\n  \"n\" : 1\n}";)"),
            R"(frame = "{\n  \"token\" : \"***\",\n  \"n\" : 1\n}";)");
  EXPECT_EQ(hideSecrets(R"(text = "{\n    pwd = abc;\n    n = 1;\n}";)"),
            R"(text = "{\n    pwd = ***;\n    n = 1;\n}";)");
}

TEST(HideSecrets, TextThatEndsInBackslashesEndsWhereItEnds) {
  EXPECT_EQ(hideSecrets(R"({"pwd":"a\\","n":"shown"})"), R"({"pwd":"***","n":"shown"})");
  EXPECT_EQ(hideSecrets(R"({"pwd":"a\\\"b","n":"shown"})"), R"({"pwd":"***","n":"shown"})");
}

TEST(HideSecrets, HidesWholeArraysAndDictionaries) {
  EXPECT_EQ(hideSecrets(R"({"token":{"a":"}","b":["x"]},"n":1})"), R"({"token":***,"n":1})");
  EXPECT_EQ(hideSecrets("{\n    token =     (\n        a,\n        \"b)\"\n    );\n    n = 1;\n}"),
            "{\n    token =     ***;\n    n = 1;\n}");
}

TEST(HideSecrets, HidesInAddresses) {
  EXPECT_EQ(hideSecrets("ws://127.0.0.1/?token=abc&n=1"), "ws://127.0.0.1/?token=***&n=1");
}

TEST(HideSecrets, HidesWhateverTheCaseOfTheKey) {
  EXPECT_EQ(hideSecrets(R"({"Token":"abc"})"), R"({"Token":"***"})");
}

TEST(HideSecrets, TextThatIsCutShortIsHiddenToItsEnd) {
  EXPECT_EQ(hideSecrets(R"({"pwd":"abc)"), R"({"pwd":"***")");
  EXPECT_EQ(hideSecrets("pwd = abc"), "pwd = ***");
  EXPECT_EQ(hideSecrets("pwd = "), "pwd = ***");
}

TEST(HideSecrets, LeavesTheRestAlone) {
  for (const char* text : {"", "pass", "the token is lost", "password = shown;", "{\"tokens\":\"shown\"}",
                           "compass = north;", "{\"name\":\"token\",\"n\":1}", "a token, \"pwd\" and more"}) {
    EXPECT_EQ(hideSecrets(text), text);
  }
}

const std::string kPlanted = "zeBRa-4711-plaNTed";

void expectHidden(const Result& result) {
  EXPECT_EQ(result.err.find(kPlanted), std::string::npos) << result.err;
  EXPECT_EQ(result.out.find(kPlanted), std::string::npos) << result.out;
  EXPECT_EQ(result.err.find(devserver::md5Hex(kPlanted)), std::string::npos) << result.err;
  EXPECT_EQ(result.out.find(devserver::md5Hex(kPlanted)), std::string::npos) << result.out;
}

TEST(Secrets, PasswordIsShownByNoCommand) {
  const std::string text = '"' + kPlanted + '"';
  const std::string login = "loginWithMobile:password:completeBlock:timeoutBlock:";
  expectHidden(runOrv({"invoke", login, "\"13800000001\"", text}));
  expectHidden(runOrv({"invoke", login, "\"13800000001\"", text, "1"}));
  expectHidden(runOrv({"invoke", login, "\"13800000001\"", kPlanted}));
  expectHidden(runOrv({"invoke", login, "17", text}));
  expectHidden(runOrv({"invoke", "noSuch:", text}));
  expectHidden(runOrv({"invoke", "--batch"}, "{\"operation\":\"" + login + "\",\"args\":[\"13800000001\"," +
                                                 text + "]}\n" + "{\"operation\":\"" + login +
                                                 "\",\"args\":[13," + text + "]}\n" + "{" + text + "\n"));
  expectHidden(runOrv({"call", "User.Post.Login", "{\"phone\":\"1\",\"pwd\":" + text + "}"}));
  expectHidden(runOrv({"call", "User.Post.Login", "{\"pwd\":" + text}));
  expectHidden(runOrv({"call", "User.Post.Login", "{}", kPlanted}));
  expectHidden(runOrv({"call", "User.Post.Login", "--pwd=" + kPlanted}));
  expectHidden(
      runOrv({"--server", "ws://127.0.0.1:1/?token=" + kPlanted, "--wait", "0.2", "call", "Dev.Echo"}));
  expectHidden(runOrv({"--server", "ws://127.0.0.1:1/?token=" + kPlanted, "--wait", "0.2", "watch"}));
}

TEST(Secrets, FrameThatTimedOutIsInTheLogFileButItsSecretsAreNotPrinted) {
  DevServer server;
  server.start();
  server.faults().dropReplies();
  const Result call = runOrv({"--server", server.url(), "call", "User.Post.Session",
                              "{\"uID\":\"1\",\"token\":\"" + kPlanted + "\"}"});
  EXPECT_EQ(call.exitCode, 3);
  expectHidden(call);
  const Result path = runOrv({"log", "--path"});
  std::ifstream file(path.lines().at(0));
  const std::string raw((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_NE(raw.find(kPlanted), std::string::npos) << "the log's texts stay as they are";
  const Result log = runOrv({"log"});
  EXPECT_NE(log.out.find("#WebSocketWithBlock# TIMEOUT"), std::string::npos);
  expectHidden(log);
}

}  // namespace
}  // namespace orv::test
