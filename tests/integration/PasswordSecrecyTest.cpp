// A password goes in, and everything that a whole run leaves behind is searched for it.

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/platform/Console.h>

#include <devserver/DevServer.h>
#include <tests/support/LiveLink.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace orv::password_secrecy_test {
namespace {

using namespace std::chrono_literals;

constexpr const char* kPassword = "Plant3d-Pa55w0rd";
constexpr const char* kDigest = "5e1a417b4637d14798e280f8e5759d8a";

class PasswordSecrecy : public test::LiveLinkTest {
 protected:
  PasswordSecrecy() {
    Console::setSink([this](std::string_view line) {
      const std::lock_guard lock(mutex_);
      console_ += std::string(line) + "\n";
    });
  }

  void logIn(const std::string& mobile) {
    QXAPIHelper::loginWithMobile_password_completeBlock_timeoutBlock(mobile, kPassword, completion("login"),
                                                                     timeout("login"));
  }

  static std::string framesOf(const DevServer& server) {
    std::string all;
    for (const auto& frame : server.receivedFrames()) all += frame.text + "\n";
    return all;
  }

  /// All files under the home, where everything that the library writes lies.
  static std::string filesOf(const std::filesystem::path& home) {
    std::string all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home)) {
      all += entry.path().string() + "\n";
      if (!entry.is_regular_file()) continue;
      std::ifstream file(entry.path(), std::ios::binary);
      all.append(std::istreambuf_iterator<char>(file), {});
    }
    return all;
  }

  std::string console() {
    const std::lock_guard lock(mutex_);
    return console_;
  }

 private:
  std::mutex mutex_;
  std::string console_;
};

bool holds(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

TEST_F(PasswordSecrecy, LeavesNoPasswordInFramesLogsOrConsole) {
  DevServer server;
  server.start();
  configure(server.url());
  logIn("13800000001");  // before there is a link
  bringUp(server.url());
  logIn("13800000001");
  logIn("not a number \xff");  // cannot be framed
  // Whatever the other operations write is written as well.
  for (const auto* name :
       {"bindPhone:scode:type:token:completeBlock:timeoutBlock:",
        "coursePostDelete:completeBlock:timeoutBlock:", "logoutWithCompleteBlock:timeoutBlock:"}) {
    std::vector<Object> arguments;
    for (const auto& parameter : OperationRegistry::standard().find(name)->parameters) {
      arguments.push_back(parameter.kind == ArgumentKind::Integer ? Object(1) : Object("x"));
    }
    EXPECT_EQ(OperationRegistry::standard().find(name)->invoke(arguments, nullptr, nullptr), "");
  }
  send("Dev.Last");
  ASSERT_TRUE(pumpUntil([&] {
    return server.waitForFrame([](const auto& frame) { return holds(frame.text, "Dev.Last"); }, 0ms)
        .has_value();
  }));
  ASSERT_TRUE(waitForOutcomes(2));
  server.cut({});
  ASSERT_TRUE(pumpUntil([&] { return !link.isOpen(); }));
  logIn("13800000001");

  EXPECT_FALSE(logLines().empty());
  const std::string frames = framesOf(server);
  const std::string files = filesOf(std::getenv("HOME"));
  const std::string console = this->console();
  EXPECT_TRUE(holds(frames, kDigest)) << "it was sent, as its digest";
  EXPECT_TRUE(holds(files, "auto reconnect")) << "the log is there";
  EXPECT_TRUE(holds(console, "dictValues=")) << "console lines were written";
  EXPECT_TRUE(holds(console, "conver to json error"));
  for (const std::string_view part :
       {std::string_view(kPassword), std::string_view("Plant3d"), std::string_view("Pa55w0rd")}) {
    EXPECT_FALSE(holds(frames, part));
    EXPECT_FALSE(holds(files, part));
    EXPECT_FALSE(holds(console, part));
  }
}

}  // namespace
}  // namespace orv::password_secrecy_test
