// What others can do while a page is being brought into the catalogue, with real files.

#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/PageMerging.h>
#include <orvnetwork/course/detail/RecordPageEffects.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/platform/Semaphore.h>

#include <tests/support/PassingFiles.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace orv::page_merging_test {

namespace {

using Names = std::vector<std::string>;

/// The real files; the test is asked in before each file is read, written or removed.
class WatchedFiles final : public test::PassingFiles {
 public:
  using test::PassingFiles::PassingFiles;
  bool writeAtomically(const std::string& path, std::string_view bytes, Durability durability, unsigned mode,
                       std::error_code& error) override {
    tell("write ", path);
    return test::PassingFiles::writeAtomically(path, bytes, durability, mode, error);
  }
  std::optional<std::string> read(const std::string& path, std::error_code& error) override {
    tell("read ", path);
    return test::PassingFiles::read(path, error);
  }
  bool remove(const std::string& path, std::error_code& error) override {
    tell("remove ", path);
    return test::PassingFiles::remove(path, error);
  }

  std::function<void(const std::string& what)> watch;

 private:
  void tell(const std::string& what, const std::string& path) {
    if (watch) watch(what + path.substr(path.rfind('/') + 1));
  }
};

class PageMerging : public ::testing::Test {
 protected:
  PageMerging() {
    Console::setSink([](std::string_view) {});
    Platform::install(std::unique_ptr<Platform>(&platform));
    catalogue.dataSemaphore = std::make_shared<Semaphore>(1);
    static int number = 0;
    catalogue.open("page_merging/" + std::to_string(++number), 7);
    catalogue.ensureLoaded();
  }
  ~PageMerging() override {
    platform.files().watch = nullptr;
    Console::setSink(nullptr);
  }

  static json::object item(std::int64_t room) {
    return {{"roomID", room}, {"title", "course " + std::to_string(room)}, {"status", 3}};
  }
  /// Merges a first page that is the last one.
  std::optional<PageMergeResult> merge(const json::array& values) {
    const PageItems items(1, values);
    RecordPageEffects effects(catalogue, items);
    return merge(items, effects);
  }
  std::optional<PageMergeResult> merge(const PageItems& items, RecordPageEffects& effects) {
    return mergePage(catalogue, CourseListKind::Recorded, {.page = 1, .opened = catalogue.opened()}, items,
                     [&](OptionalString& cursor) {
                       effects.begin();
                       cursor = std::nullopt;
                       return mergeCloudPage(catalogue.cloud.list(), cursor, items, effects);
                     });
  }
  /// 9, 8 and 7 are listed; 9 is in its file only.
  void listThree() {
    merge({item(9), item(8), item(7)});
    catalogue.forget("9", false);
  }
  /// One is updated from its file, one stays, one is new, and one has vanished.
  const json::array fourChanges{json::object{{"roomID", 9}, {"title", "new title"}, {"status", 3}}, item(8),
                                item(5)};
  json::array storedKeys() const {
    return readArrayFile(catalogue.cloud.files().listFile().value()).value_or(json::array());
  }

  test::PlatformWithFiles<WatchedFiles>& platform =
      *new test::PlatformWithFiles<WatchedFiles>;  // Never destroyed.
  Catalogue catalogue;
};

TEST_F(PageMerging, NobodyHoldsTheCatalogueWhileAFileIsReadWrittenOrRemoved) {
  listThree();
  const std::shared_ptr<Semaphore> semaphore = catalogue.dataSemaphore;
  Names seen;
  platform.files().watch = [&](const std::string& what) {
    seen.push_back(what);
    const bool isFree = semaphore->tryWait();
    EXPECT_TRUE(isFree) << what;
    if (isFree) semaphore->signal();
  };
  merge(fourChanges);
  const auto isSeen = [&](const char* what) { return std::ranges::count(seen, what) == 1; };
  EXPECT_TRUE(isSeen("write 9.plist"));
  EXPECT_TRUE(isSeen("write 5.plist"));
  EXPECT_TRUE(isSeen("remove 7.plist"));
  EXPECT_EQ(seen.front(), "read 9.plist") << "before the catalogue is held";
  EXPECT_EQ(seen.back(), "write cloudCourse.plist") << "when all that it names is there";
  EXPECT_EQ(storedKeys(), (json::array{"9", "8", "5"}));
}

TEST_F(PageMerging, WhatIsNotWrittenYetIsFoundAllTheSame) {
  listThree();
  std::size_t changes = 0;
  platform.files().watch = [&](const std::string& what) {
    if (what.starts_with("read")) return;
    if (++changes > 1) return;
    // Others have asked for so many courses that these have left the memory.
    catalogue.cloud.memory().clear();
    EXPECT_EQ(catalogue.cloud.list().snapshot(), (Names{"9", "8", "5"}));
    EXPECT_EQ(catalogue.recordAt(catalogue.cloud, 0)->title, "new title");
    EXPECT_EQ(catalogue.recordAt(catalogue.cloud, 1)->title, "course 8");
    EXPECT_EQ(catalogue.recordAt(catalogue.cloud, 2)->title, "course 5");
    EXPECT_EQ(catalogue.cloud.find("7"), nullptr);
    EXPECT_FALSE(catalogue.cloud.files().has("7"));
  };
  merge(fourChanges);
  EXPECT_GT(changes, 1u);
  catalogue.cloud.memory().clear();
  EXPECT_EQ(catalogue.recordAt(catalogue.cloud, 0)->title, "new title") << "and on the disk";
}

TEST_F(PageMerging, CatalogueIsChangedForAnotherOneWhenThePageIsWritten) {
  listThree();
  std::size_t looked = 0;
  platform.files().watch = [&](const std::string& what) {
    if (what.starts_with("read")) return;
    ++looked;
    EXPECT_FALSE(std::async(std::launch::async, [this] { return catalogue.changing.try_lock(); }).get())
        << what;
  };
  merge(fourChanges);
  EXPECT_GE(looked, 4u);
  EXPECT_TRUE(catalogue.changing.try_lock());
  catalogue.changing.unlock();
}

TEST_F(PageMerging, RecordThatSomebodyWritesMeanwhileIsNotWrittenOver) {
  listThree();
  bool isChanged = false;
  platform.files().watch = [&](const std::string& what) {
    // Of two files that are still to be changed; 9 is being written.
    if (what != "write 9.plist" || isChanged) return;
    isChanged = true;
    OrvCourseModel course;
    course.roomID = 5;
    course.title = "the newest";
    catalogue.cloud.files().write("5", course);
  };
  merge(fourChanges);
  ASSERT_TRUE(isChanged);
  EXPECT_EQ(catalogue.cloud.files().read("5")->title, "the newest");
}

TEST_F(PageMerging, RecordThatWasReadAheadWhileItWasBeingWrittenIsReadAnew) {
  listThree();
  const json::array values{item(9), item(8), item(7)};
  const PageItems items(1, values);
  std::optional<RecordPageEffects> effects;
  platform.files().watch = [&](const std::string& what) {
    // The file is still the old one.
    if (what == "write 9.plist" && !effects) effects.emplace(catalogue, items);
  };
  OrvCourseModel course;
  course.roomID = 9;
  course.nick = "the newest";
  catalogue.cloud.files().write("9", course);
  ASSERT_TRUE(effects);
  merge(items, *effects);
  EXPECT_EQ(catalogue.cloud.files().read("9")->nick, "the newest");
  EXPECT_EQ(catalogue.cloud.files().read("9")->title, "course 9");
}

TEST_F(PageMerging, RecordThatWasReadAheadWhileItWasBeingRemovedIsNotThere) {
  listThree();
  const json::array values{item(9), item(8), item(7)};
  const PageItems items(1, values);
  std::optional<RecordPageEffects> effects;
  platform.files().watch = [&](const std::string& what) {
    if (what == "remove 9.plist" && !effects) effects.emplace(catalogue, items);
  };
  catalogue.cloud.files().remove("9");
  ASSERT_TRUE(effects);
  merge(items, *effects);
  EXPECT_EQ(catalogue.cloud.files().read("9"), nullptr);
}

TEST_F(PageMerging, OthersHaveTheCatalogueWhileTheTextOfALongListIsMade) {
  Names many;
  for (int room = 50'000; room > 100; --room) many.push_back(std::to_string(room));
  catalogue.cloud.list().assign(many);
  const auto mergePageOf = [this](std::int64_t hundredThousand) {
    json::array values;
    for (std::int64_t room = 30; room > 0; --room) values.push_back(item(100'000 * hundredThousand + room));
    merge(values);
  };
  // From here on the text is there, unless a page is being merged.
  mergePageOf(1);
  const std::shared_ptr<Semaphore> semaphore = catalogue.dataSemaphore;
  std::atomic<bool> cameThrough = false, isOver = false;
  const auto other = std::async(std::launch::async, [&] {
    while (!isOver) {
      const SemaphoreHold hold(semaphore);
      if (cameThrough || catalogue.cloud.prepareKeys()) continue;
      // In the midst of it: what has been made is of no use now.
      catalogue.cloud.list().removeAt(catalogue.cloud.list().size() / 100);
      cameThrough = true;
    }
  });
  // Each time it waits for its turn sooner or later.
  for (std::int64_t page = 2; page <= 200 && !cameThrough; ++page) mergePageOf(page);
  isOver = true;
  other.wait();
  EXPECT_TRUE(cameThrough);
  const std::vector<std::string> listed = catalogue.cloud.list().snapshot();
  EXPECT_EQ(storedKeys(), json::array(listed.begin(), listed.end())) << "the list of one moment";
}

TEST_F(PageMerging, PageOfAnEarlierCatalogueChangesNothing) {
  listThree();
  const json::array values{item(3)};
  const PageItems items(1, values);
  RecordPageEffects effects(catalogue, items);
  const auto result = mergePage(catalogue, CourseListKind::Recorded,
                                {.page = 1, .opened = catalogue.opened() - 1}, items, [](OptionalString&) {
                                  ADD_FAILURE() << "it is merged";
                                  return PageMergeResult();
                                });
  EXPECT_FALSE(result);
  EXPECT_EQ(storedKeys(), (json::array{"9", "8", "7"}));
}

}  // namespace

}  // namespace orv::page_merging_test
