#include <orvnetwork/data/Json.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>
#include <orvnetwork/transport/TraceFile.h>

#include <tests/support/LinkFixture.h>

#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace orv::trace_file_test {
namespace {

class TraceFileOnDisk : public LinkFixture {
 protected:
  static constexpr const char* kPath = "/tmp/link.jsonl";
  static constexpr const char* kFormer = "/tmp/link.jsonl.1";

  std::shared_ptr<TraceFile> open(std::uint64_t bound = TraceFile::kUsualBound) {
    auto file = TraceFile::open(kPath, bound);
    EXPECT_TRUE(file) << (file ? "" : file.error().description);
    return file ? *file : nullptr;
  }
  std::vector<json::object> lines(const char* path = kPath) const {
    std::vector<json::object> all;
    const std::string text = platform.files().contents(path).value_or("");
    EXPECT_TRUE(text.empty() || text.ends_with('\n'));
    for (std::size_t begin = 0; begin < text.size();) {
      const std::size_t end = text.find('\n', begin);
      const std::string line = text.substr(begin, end - begin);
      begin = end + 1;
      auto parsed = parseJson(line);
      all.push_back(parsed ? parsed->as_object() : json::object{{"torn", line}});
    }
    return all;
  }
  Strings kinds(const char* path = kPath) const {
    Strings all;
    for (const auto& line : lines(path)) {
      all.emplace_back(line.contains("kind") ? line.at("kind").as_string() : json::string("torn"));
    }
    return all;
  }
  static TraceEntry entry(std::string text = "hello") {
    TraceEntry made;
    made.kind = TraceKind::Opened;
    made.text = std::move(text);
    return made;
  }
};

TEST_F(TraceFileOnDisk, IsMadeForItsOwnerAloneAndTakesTheTrace) {
  const auto file = open();
  link.setFrameTrace(TraceFile::sinkOf(file));
  bringUp();
  EXPECT_EQ(platform.files().mode(kPath), 0600u);
  EXPECT_EQ(kinds(), (Strings{"began", "attempt", "opened", "sent", "received", "up"}));
  send("a", json::object{{"pwd", "hunter2"}});
  settle();
  EXPECT_EQ(lines().back().at("frame").at("v").at("pwd"), json::value("***"));
  EXPECT_EQ(file->trouble(), std::nullopt);
  EXPECT_EQ(file->lost(), 0u);
}

TEST_F(TraceFileOnDisk, IsAppendedTo) {
  open()->write(entry());
  open()->write(entry());
  EXPECT_EQ(kinds(), (Strings{"began", "opened", "began", "opened"}));
}

TEST_F(TraceFileOnDisk, IsClosedWhenTheTraceHasEnded) {
  auto file = open();
  const std::weak_ptr<TraceFile> watched = file;
  link.setFrameTrace(TraceFile::sinkOf(std::move(file)));
  EXPECT_FALSE(watched.expired());
  link.setFrameTrace({});
  EXPECT_TRUE(watched.expired());
}

TEST_F(TraceFileOnDisk, SaysWhyItCannotBeOpened) {
  const auto file = TraceFile::open("/nowhere/link.jsonl");
  ASSERT_FALSE(file);
  EXPECT_NE(file.error().description.find("/nowhere/link.jsonl cannot be opened"), std::string::npos)
      << file.error().description;
  platform.files().setCapacity(0);
  const auto full = TraceFile::open(kPath);
  ASSERT_FALSE(full);
  EXPECT_NE(full.error().description.find("cannot be written"), std::string::npos)
      << full.error().description;
}

TEST_F(TraceFileOnDisk, GoesOnToAnotherFileAndKeepsTheNewestOnes) {
  constexpr std::uint64_t kBound = 4096;
  const auto file = open(kBound);
  for (int i = 0; i < 200; ++i) file->write(entry("number " + std::to_string(i)));
  EXPECT_LE(platform.files().contents(kPath)->size(), kBound);
  EXPECT_LE(platform.files().contents(kFormer)->size(), kBound);
  EXPECT_EQ(platform.files().mode(kFormer), 0600u);
  EXPECT_EQ(platform.files().mode(kPath), 0600u);
  EXPECT_EQ(lines().front().at("kind"), json::value("began"));
  EXPECT_EQ(lines().back().at("text"), json::value("number 199"));
  const auto number = [](std::size_t n) { return json::value("number " + std::to_string(n)); };
  const std::size_t here = lines().size() - 1;
  EXPECT_EQ(lines().at(1).at("text"), number(200 - here));
  EXPECT_EQ(lines(kFormer).back().at("text"), number(199 - here)) << "nothing is missing between the two";
  EXPECT_EQ(file->lost(), 0u);
}

TEST_F(TraceFileOnDisk, GoesOnToANewFileAtItsBoundWhenSomebodyHasRemovedIt) {
  constexpr std::uint64_t kBound = 4096;
  const auto file = open(kBound);
  file->write(entry());
  std::error_code error;
  ASSERT_TRUE(platform.files().remove(kPath, error));
  for (int i = 0; i < 200; ++i) file->write(entry("number " + std::to_string(i)));
  ASSERT_TRUE(platform.files().contents(kPath)) << "it goes where nobody finds it, without end";
  EXPECT_LE(platform.files().contents(kPath)->size(), kBound);
  EXPECT_EQ(lines().back().at("text"), json::value("number 199"));
  EXPECT_EQ(file->trouble(), std::nullopt);
}

TEST_F(TraceFileOnDisk, TakesAnEntryThatIsLargerThanItsBound) {
  const auto file = open(1000);
  file->write(entry(std::string(5000, 'x')));
  file->write(entry("after"));
  EXPECT_EQ(kinds(kFormer), (Strings{"began", "opened"}));
  EXPECT_EQ(kinds(), (Strings{"began", "opened"}));
  EXPECT_EQ(file->lost(), 0u);
}

TEST_F(TraceFileOnDisk, CountsWhatAFullDiskHasNotTakenAndGoesOnAfterwards) {
  const auto file = open();
  file->write(entry("one"));
  platform.files().failAlways(testing::FileOperation::HandleWrite, std::errc::no_space_on_device);
  file->write(entry("two"));
  file->write(entry("three"));
  EXPECT_EQ(file->lost(), 2u);
  ASSERT_TRUE(file->trouble());
  EXPECT_NE(file->trouble()->description.find("/tmp/link.jsonl cannot be written"), std::string::npos);
  platform.files().clearFailures();
  file->write(entry("four"));
  auto found = lines();
  std::erase_if(found, [](const json::object& line) { return line.contains("torn"); });
  ASSERT_EQ(found.size(), 4u) << "two of the trace, a gap, and the new one";
  EXPECT_EQ(found[2].at("skipped"), json::value(2));
  EXPECT_EQ(found[3].at("text"), json::value("four"));
  EXPECT_EQ(file->lost(), 2u);
}

TEST_F(TraceFileOnDisk, BeginsANewLineAfterOneThatWasTorn) {
  const auto file = open();
  platform.files().setCapacity(platform.files().usedBytes() + 20);
  file->write(entry("two"));
  platform.files().setCapacity(std::nullopt);
  file->write(entry("three"));
  const Strings found = kinds();
  EXPECT_EQ(found.back(), "opened");
  EXPECT_EQ(found.at(found.size() - 2), "skipped");
  EXPECT_EQ(lines().back().at("text"), json::value("three"));
}

TEST_F(TraceFileOnDisk, StopsWhereItCanNeitherRenameNorRemoveWhatIsFull) {
  const auto file = open(600);
  for (int i = 0; i < 3; ++i) file->write(entry());
  platform.files().failAlways(testing::FileOperation::Rename);
  platform.files().failAlways(testing::FileOperation::Remove);
  for (int i = 0; i < 50; ++i) file->write(entry());
  EXPECT_LE(platform.files().contents(kPath)->size(), 600u);
  EXPECT_GT(file->lost(), 40u);
  platform.files().clearFailures();
  file->write(entry("after"));
  EXPECT_EQ(kinds(), (Strings{"began", "skipped", "opened"}));
}

}  // namespace
}  // namespace orv::trace_file_test
