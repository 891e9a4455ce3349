#include <orvnetwork/course/detail/RequestList.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

namespace orv::request_list_test {
namespace {

using Starts = std::vector<std::uint64_t>;

CourseRequest from(std::uint64_t start, CoursesBlock block = {}) {
  return {.start = start, .count = 30, .blockHandler = std::move(block)};
}

Starts startsOf(const RequestList& list) {
  Starts starts;
  for (const CourseRequest& request : list.get()) starts.push_back(request.start.value_or(99));
  return starts;
}

TEST(RequestList, KeepsTheOrderInWhichRequestsCame) {
  RequestList list;
  EXPECT_EQ(list.first(), nullptr);
  for (std::uint64_t start : {3, 1, 2}) list.add(from(start));
  EXPECT_EQ(startsOf(list), (Starts{3, 1, 2}));
  EXPECT_EQ(list.first()->start, 3u);
}

TEST(RequestList, HandsBackWhatIsReplaced) {
  RequestList list;
  list.add(from(1));
  EXPECT_EQ(list.set({from(4), from(5)}).size(), 1u);
  EXPECT_EQ(startsOf(list), (Starts{4, 5}));
  EXPECT_EQ(list.set({}).size(), 2u);
  EXPECT_EQ(startsOf(list), Starts{});
}

TEST(RequestList, TakesOutWhatLeavesAndLeavesTheRestInOrder) {
  for (unsigned leaving = 0; leaving < 32; ++leaving) {
    RequestList list;
    for (std::uint64_t start = 0; start < 5; ++start) list.add(from(start));
    Starts asked, taken, left;
    const auto gone = list.take([&](const RequestList::Entry& entry) {
      asked.push_back(*entry->start);
      return ((leaving >> *entry->start) & 1) != 0;
    });
    for (std::uint64_t start = 0; start < 5; ++start) {
      (((leaving >> start) & 1) != 0 ? taken : left).push_back(start);
    }
    EXPECT_EQ(asked, (Starts{0, 1, 2, 3, 4}));
    ASSERT_EQ(gone.size(), taken.size());
    for (std::size_t at = 0; at < gone.size(); ++at) EXPECT_EQ(gone[at]->start, taken[at]);
    EXPECT_EQ(startsOf(list), left);
  }
}

TEST(RequestList, NotesTheEndIndexInTheOldestOnly) {
  RequestList list;
  list.add(from(1));
  list.add(from(2));
  const RequestList::Entry first = list.first();
  EXPECT_EQ(list.noteEndIndex(first, std::nullopt), nullptr) << "nothing to be noted";
  EXPECT_EQ(list.noteEndIndex(first, 30), first) << "handed back";
  EXPECT_EQ(first->endIndex, std::nullopt) << "whoever holds it sees no change";
  EXPECT_EQ(list.first()->endIndex, 30u);
  EXPECT_NE(list.noteEndIndex(first, 60), first) << "it is not the oldest one any more";
  EXPECT_EQ(list.first()->endIndex, 30u);
  EXPECT_EQ(list.get().at(1).endIndex, std::nullopt);
}

TEST(RequestList, RunsNothingOfTheHostsWhileItIsLocked) {
  /// Looks at the list whenever it is copied or destroyed, which would wait for ever.
  struct Looker {
    explicit Looker(RequestList& looked) : list(&looked) {}
    Looker(const Looker& other) : list(other.list) { list->first(); }
    Looker& operator=(const Looker&) = delete;
    ~Looker() { list->first(); }
    void operator()(bool, std::int64_t) const {}
    RequestList* list;
  };
  RequestList list;
  for (std::uint64_t start = 0; start < 4; ++start) list.add(from(start, Looker(list)));
  EXPECT_EQ(list.get().size(), 4u);
  list.noteEndIndex(list.first(), 30);
  list.take([](const RequestList::Entry& entry) { return entry->start == 1u; });
  list.set(list.get());
  EXPECT_EQ(startsOf(list), (Starts{0, 2, 3}));
  list.set({});
}

}  // namespace
}  // namespace orv::request_list_test
