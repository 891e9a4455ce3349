// `login` and `logout` on a disk that takes nothing.

#include "Program.h"
#include <devserver/DevServer.h>

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace orv::test::login_disk_test {
namespace {

namespace json = boost::json;

const std::string kMobile = "13800000001";

class LoginOnADisk : public ::testing::Test {
 protected:
  LoginOnADisk() { server.start(); }

  Result orv(std::vector<std::string> arguments, const std::string& input = {}) {
    arguments.insert(arguments.begin(), {"--server", server.url()});
    return runOrv(std::move(arguments), input);
  }
  static std::string plist() {
    return std::string(std::getenv("HOME")) + "/Documents/userInfo/userInfo.plist";
  }
  /// What the user file says of the token; "" when there is none in it.
  static std::string storedToken() {
    std::ifstream stream(plist(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    const auto key = text.find("<key>token</key>");
    return key == std::string::npos ? "" : text.substr(key, text.find("</string>", key) - key);
  }
  std::size_t logoutsReceived() const {
    const auto frames = server.receivedFrames();
    return static_cast<std::size_t>(std::ranges::count_if(
        frames, [](const auto& frame) { return frame.text.find("User.Post.Logout") != std::string::npos; }));
  }

  DevServer server;
};

class UserOnADisk : public LoginOnADisk {
 protected:
  UserOnADisk() { EXPECT_EQ(orv({"login", kMobile}, "classroom\n").exitCode, 0); }
};

/// As on a full disk: whatever is written to a file fails.
class WithoutRoom {
 public:
  WithoutRoom() {
    // The tests' server keeps its school in memory.
    ignored_ = ::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit none{0, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &none);
  }
  ~WithoutRoom() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    ::signal(SIGXFSZ, ignored_);
  }

 private:
  rlimit before_{};
  void (*ignored_)(int) = nullptr;
};

TEST_F(LoginOnADisk, ThatCannotBeKeptIsNoSuccess) {
  const WithoutRoom full;
  const Result result = orv({"login", kMobile}, "classroom\n");
  EXPECT_EQ(result.exitCode, 1) << result.out;
  EXPECT_EQ(result.json().at("outcome"), "error");
  EXPECT_NE(std::string(result.json().at("message").as_string()).find("could not be written to " + plist()),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.err.find("File too large"), std::string::npos) << result.err;
}

TEST_F(UserOnADisk, LoginOfAnotherThatCannotBeKeptIsNoSuccessEither) {
  const std::string token = storedToken();
  const WithoutRoom full;
  EXPECT_EQ(orv({"login", "13800000002"}, "classroom\n").exitCode, 1);
  EXPECT_EQ(storedToken(), token) << "the former user is still there";
}

TEST_F(UserOnADisk, LogoutOnAFullDiskForgetsTheUserAllTheSame) {
  const WithoutRoom full;
  EXPECT_EQ(orv({"logout"}).exitCode, 0);
  EXPECT_TRUE(storedToken().empty());
}

/// Makes a folder read-only for this process and those that it starts, as on a disk that has been mounted so. The
/// process must have one thread only, unless it may mount as it is.
void makeReadOnly(const std::string& folder) {
  if (::unshare(CLONE_NEWNS) != 0) {
    const std::string users = "0 " + std::to_string(::getuid()) + " 1";
    ASSERT_EQ(::unshare(CLONE_NEWUSER | CLONE_NEWNS), 0);
    std::ofstream("/proc/self/uid_map") << users;
  }
  ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
  ASSERT_EQ(::mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr), 0);
  ASSERT_EQ(::mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
}

TEST_F(UserOnADisk, LogoutThatLeavesTheTokenOnTheDiskSaysSo) {
  server.stop();
  makeReadOnly(std::filesystem::path(plist()).parent_path());
  server.start();
  const Result here = runOrv({"logout"});
  EXPECT_EQ(here.exitCode, 1) << here.out;
  EXPECT_EQ(here.json().at("outcome"), "error");
  EXPECT_EQ(here.json().at("message"),
            json::value("the user could not be removed: the token is still on the disk, in " + plist() +
                        "; standard error tells why"));
  EXPECT_NE(here.err.find("Read-only file system"), std::string::npos) << here.err;
  const Result told = orv({"logout"});
  EXPECT_EQ(told.exitCode, 1) << told.out;
  EXPECT_EQ(logoutsReceived(), 1u);
  EXPECT_NE(told.out.find("the server was told, but the user could not be removed: the token is still on the "
                          "disk"),
            std::string::npos)
      << told.out;
  EXPECT_FALSE(storedToken().empty());
  EXPECT_EQ(orv({"login", kMobile}, "classroom\n").exitCode, 1);
}

}  // namespace
}  // namespace orv::test::login_disk_test
