#include <orvnetwork/platform/native/zones/ZoneFile.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

namespace orv::zone_file_test {
namespace {

namespace fs = std::filesystem;

const fs::path kShanghai = "/usr/share/zoneinfo/Asia/Shanghai";

std::string inHome(const char* name) {
  return fs::path(std::getenv("HOME")) / name;
}

TEST(ZoneFile, GivesRulesAndTheStateOfTheFile) {
  const ZoneFile file = readZoneFileAt(kShanghai);
  ASSERT_TRUE(file.rules);
  EXPECT_EQ(file.rules->at(1'706'690'702).seconds, 8 * 3600);
  EXPECT_EQ(file.problem, "");
  ASSERT_TRUE(file.state);
  EXPECT_EQ(file.state, fileStateAt(kShanghai));
  EXPECT_EQ(static_cast<std::uintmax_t>(file.state->size), fs::file_size(kShanghai));
}

TEST(ZoneFile, IsSeenThroughALink) {
  fs::create_symlink(kShanghai, inHome("link"));
  EXPECT_TRUE(readZoneFileAt(inHome("link")).rules);
  EXPECT_EQ(fileStateAt(inHome("link")), fileStateAt(kShanghai));
}

TEST(ZoneFile, HasAnotherStateWhenItIsWrittenOrReplaced) {
  const std::string path = inHome("zone");
  std::ofstream(path) << "one";
  const auto first = fileStateAt(path);
  std::ofstream(path, std::ios::app) << "two";
  const auto second = fileStateAt(path);
  EXPECT_NE(first, second);
  std::ofstream(inHome("other")) << "onetwo";
  fs::last_write_time(inHome("other"), fs::last_write_time(path));
  fs::rename(inHome("other"), path);
  EXPECT_NE(second, fileStateAt(path));
  fs::remove(path);
  EXPECT_EQ(fileStateAt(path), std::nullopt);
}

TEST(ZoneFile, SaysWhyThereAreNoRules) {
  const auto problem = [](const std::string& path) {
    const ZoneFile file = readZoneFileAt(path);
    EXPECT_FALSE(file.rules) << path;
    EXPECT_EQ(file.state, fileStateAt(path)) << path;
    return file.problem;
  };
  EXPECT_EQ(problem(inHome("nothing")), "No such file or directory");
  EXPECT_EQ(problem(""), "No such file or directory");
  EXPECT_EQ(problem("/etc/passwd/zone"), "Not a directory");
  EXPECT_EQ(problem("/usr/share/zoneinfo/Asia"), "not a plain file");
  EXPECT_EQ(problem("/etc/passwd"), "not a zone file: it does not begin with TZif");
  EXPECT_EQ(problem("/dev/zero"), "not a plain file");
}

TEST(ZoneFile, DoesNotWaitForAPipe) {
  ASSERT_EQ(mkfifo(inHome("pipe").c_str(), 0600), 0);
  EXPECT_EQ(readZoneFileAt(inHome("pipe")).problem, "not a plain file");
}

TEST(ZoneFile, DoesNotReadAFileThatIsTooLarge) {
  std::ofstream(inHome("large")) << "TZif";
  fs::resize_file(inHome("large"), std::uintmax_t{1} << 40);  // it has a hole
  EXPECT_EQ(readZoneFileAt(inHome("large")).problem, "not a zone file: it is too large");
}

}  // namespace
}  // namespace orv::zone_file_test
