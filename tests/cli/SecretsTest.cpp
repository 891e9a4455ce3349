// Passwords, codes and tokens stay out of what the program shows.

#include "Program.h"
#include <devserver/DevServer.h>
#include <devserver/school/School.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace orv::test::secrets_test {
namespace {

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

TEST(Secrets, PasswordInTheServersAddressIsShownByNoCommand) {
  for (const std::string& user : {"user:" + kPlanted, kPlanted, kPlanted + ":x", "a@b:" + kPlanted}) {
    const std::string url = "ws://" + user + "@127.0.0.1:1/path";
    for (const char* command : {"watch", "whoami", "shell"}) {
      const Result result = runOrv({"--server", url, "--wait", "0.2", command}, "server\ncall Dev.Echo\n");
      expectHidden(result);
    }
    const Result call = runOrv({"--server", url, "--wait", "0.2", "call", "Dev.Echo"});
    expectHidden(call);
    EXPECT_NE(call.out.find("no link to ws://***@127.0.0.1:1/path within"), std::string::npos) << call.out;
    expectHidden(runOrv({"call", "Dev.Echo", "--server", url, "--wait", "0.2"}));
    expectHidden(runOrv({"--server", url + " ", "--wait", "0.2", "call", "Dev.Echo"}));
    expectHidden(runOrv({"--sever", url, "call", "Dev.Echo"}));
    expectHidden(runOrv({url, "call", "Dev.Echo"}));
    expectHidden(runOrv({"log"}));
  }
}

TEST(Secrets, PasswordThatEndsTheAuthorityTooSoonIsShownByNoCommand) {
  for (const std::string& url :
       {"ws://ann:12/" + kPlanted + "@127.0.0.1:1", "ws://ann:12?" + kPlanted + "@127.0.0.1:1",
        "ws://ann:12#" + kPlanted + "@127.0.0.1:1", "ws://:12/" + kPlanted + "@127.0.0.1:1/x"}) {
    for (const char* command : {"watch", "whoami", "doctor"}) {
      expectHidden(runOrv({"--server", url, "--wait", "0.2", command}));
    }
    expectHidden(runOrv({"--server", url, "--wait", "0.2", "call", "Dev.Echo"}));
    expectHidden(runOrv({"log"}));
  }
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

TEST(Secrets, PasswordOfAProxyIsShownByNoCommand) {
  for (const std::string& user : {"user:" + kPlanted, kPlanted, "a%40b:" + kPlanted}) {
    const std::string proxy = user + "@127.0.0.1:1";
    for (const std::string& address : {"http://" + proxy, "socks5://" + proxy, proxy}) {
      const std::vector<std::string> words{"--server", "ws://class.example.org", "--proxy", address, "--wait",
                                           "0.2"};
      auto watch = words, shell = words;
      watch.emplace_back("watch");
      shell.emplace_back("shell");
      expectHidden(runOrv(watch));
      expectHidden(runOrv(shell, "server\ncall Dev.Echo\n"));
    }
    expectHidden(runOrv({"--proxy", "https://" + proxy, "call", "Dev.Echo"}));
    expectHidden(runOrv({"--proxy=http://" + proxy + "/" + kPlanted, "call", "Dev.Echo"}));
    expectHidden(runOrv({"call", "Dev.Echo", "--proxy", "http://" + proxy}));
    expectHidden(runOrv({"--prxy", "http://" + proxy, "call", "Dev.Echo"}));
    expectHidden(runOrv({"log"}));
  }
}

}  // namespace
}  // namespace orv::test::secrets_test
