#include <orvnetwork/platform/Console.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/testing/SimulatedPlatform.h>

#include <gtest/gtest.h>

#include <system_error>

namespace orv::qx_file_log_first_use_test {
namespace {

TEST(QXFileLogFirstUse, AConsoleSinkMayLogWhileTheLogIsBeingOpened) {
  auto& platform = testing::SimulatedPlatform::install();
  Console::setSink([](std::string_view line) { QXFileLog::standard().logString(line); });
  QXFileLog::standard().logString("first");
  platform.settle();
  std::error_code error;
  const auto text = platform.files().read(QXFileLog::standard().logFilePath().value(), error).value_or("");
  EXPECT_NE(text.find(" - -[QXFileLog init] "), std::string::npos) << text;
  EXPECT_NE(text.find(" - first\n"), std::string::npos) << text;
  EXPECT_LT(text.find("init"), text.find("first")) << "in the order in which they were logged";
  Console::setSink(nullptr);
}

}  // namespace
}  // namespace orv::qx_file_log_first_use_test
