#include <orvnetwork/data/Record.h>

#include "SampleRecord.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <optional>
#include <thread>
#include <vector>

namespace orv::property_test {
namespace {

using orv::test::InnerRecord;
using orv::test::SampleRecord;

TEST(Property, StartsAtZeroFalseOrAbsent) {
  const SampleRecord record;
  EXPECT_EQ(record.whole.get(), 0);
  EXPECT_EQ(record.natural.get(), 0u);
  EXPECT_EQ(record.single.get(), 0);
  EXPECT_EQ(record.real.get(), 0);
  EXPECT_FALSE(record.flag);
  EXPECT_EQ(record.text.get(), std::nullopt);
  EXPECT_EQ(record.dictionary.get(), std::nullopt);
  EXPECT_EQ(record.list.get(), std::nullopt);
  EXPECT_EQ(record.inner.get(), nullptr);
}

TEST(Property, ReadsAndIsAssignedLikeAMember) {
  SampleRecord record;
  record.text = "one";
  record.other = record.text;
  record.text = std::string("two");
  record.whole = 5;
  record.real = 2.5;
  const OptionalString text = record.text;
  EXPECT_EQ(text, "two");
  EXPECT_TRUE(record.other == "one");
  EXPECT_TRUE(record.text != record.other);
  record.other = record.text;
  EXPECT_TRUE(record.text == record.other);
  EXPECT_TRUE(record.real == 2.5);
  record.text = std::nullopt;
  EXPECT_TRUE(record.text == std::nullopt);
}

TEST(Property, IsComparedLikeAMember) {
  SampleRecord record;
  record.merge(orv::test::sampleValues());
  EXPECT_TRUE(record.renamed == "under another key");
  EXPECT_TRUE("under another key" == record.renamed);
  EXPECT_TRUE(record.renamed == std::string("under another key"));
  EXPECT_TRUE(record.renamed == OptionalString("under another key"));
  EXPECT_TRUE(record.renamed != std::nullopt);
  EXPECT_TRUE(record.text != record.other);
  EXPECT_TRUE(record.whole == -12);
  EXPECT_TRUE(record.whole == std::int64_t{-12});
  EXPECT_TRUE(record.whole != record.inner.get()->number);
  EXPECT_TRUE(record.natural == UINT64_MAX);
  EXPECT_TRUE(record.flag == true);
  EXPECT_TRUE(record.inner != nullptr);
  EXPECT_TRUE(record.inner == record.inner.get());
  EXPECT_TRUE(record.list != std::nullopt);
}

TEST(Property, GivesCopiesOfTextsAndDictionaries) {
  SampleRecord record;
  record.dictionary = json::object{{"a", 1}};
  json::object copy = *record.dictionary.get();
  copy["a"] = 2;
  EXPECT_EQ(record.dictionary.get()->at("a"), 1);
}

TEST(Property, GivesTheSameRecordEachTime) {
  SampleRecord record;
  record.inner = std::make_shared<InnerRecord>();
  record.inner.get()->number = 3;
  EXPECT_EQ(record.inner.get(), record.inner.get());
  EXPECT_EQ(record.inner.get()->number.get(), 3);
}

TEST(Property, VisitsWithoutACopy) {
  SampleRecord record;
  record.text = "a text that is too long for its place in the string itself";
  const char* first = record.text.visit([](const OptionalString& text) { return text->data(); });
  EXPECT_EQ(record.text.visit([](const OptionalString& text) { return text->data(); }), first);
  EXPECT_NE(record.text.get()->data(), first);
}

/// Reads a property of its owner when it goes.
class LastLook : public Record {
 public:
  explicit LastLook(const SampleRecord& owner) : owner_(owner) {}
  ~LastLook() override { owner_.inner.get(); }
  const RecordTable& fields() const override { return InnerRecord::table(); }

 private:
  const SampleRecord& owner_;
};

class LookingInner : public InnerRecord {
 public:
  explicit LookingInner(const SampleRecord& owner) : look_(owner) {}

 private:
  LastLook look_;
};

TEST(Property, DestroysWhatWasThereOutsideOfItsLock) {
  SampleRecord record;
  record.inner = std::make_shared<LookingInner>(record);
  record.inner = nullptr;  // would never come back if the lock were held
  EXPECT_EQ(record.inner.get(), nullptr);
}

json::object pageOf(char letter, int number) {
  const std::string text(60, letter);
  return {{"whole", number},
          {"real", number * 0.5},
          {"flag", number == 1},
          {"text", text},
          {"other", std::string(2000, letter)},
          {"dictionary", {{"one", text}, {"two", text}}},
          {"list", {text, text, text}},
          {"inner", {{"number", number}, {"text", text}}}};
}

bool isOneOfTwo(const OptionalString& text, std::size_t size) {
  return text && (*text == std::string(size, 'a') || *text == std::string(size, 'b'));
}

/// Whether every field is as one of two merged pages left it.
bool isWhole(const SampleRecord& record) {
  const std::int64_t whole = record.whole;
  const double real = record.real;
  const auto dictionary = record.dictionary.get();
  const auto list = record.list.get();
  const auto inner = record.inner.get();
  return (whole == 1 || whole == 2) && (real == 0.5 || real == 1) && isOneOfTwo(record.text, 60) &&
         isOneOfTwo(record.other, 2000) && dictionary && dictionary->at("one") == dictionary->at("two") &&
         list && list->size() == 3 && list->at(0) == list->at(2) && inner != nullptr &&
         isOneOfTwo(inner->text, 60) && record.jsonObject().at("text").as_string().size() == 60;
}

/// Reads until it has seen the text change so often that reading and merging were truly interleaved. Says how often a
/// reading was a mix.
int readWhileItChanges(const SampleRecord& record) {
  constexpr int kChanges = 100;
  int broken = 0;
  OptionalString last;
  for (int changes = 0; changes < kChanges;) {
    OptionalString text = record.text;
    if (text != last) ++changes;
    last = std::move(text);
    if (!isWhole(record)) ++broken;
  }
  return broken;
}

TEST(Property, IsReadWholeWhileThreadsMergeDifferentPages) {
  constexpr std::size_t kThreads = 3;
  const json::object pages[] = {pageOf('a', 1), pageOf('b', 2)};
  SampleRecord record;
  record.merge(pages[0]);

  std::atomic<std::size_t> reading = kThreads;
  std::atomic<int> broken = 0;
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < kThreads; ++number) {
    threads.emplace_back([&, number] {
      for (std::size_t at = number; reading > 0; ++at) record.merge(pages[at % 2]);
    });
    threads.emplace_back([&] {
      broken += readWhileItChanges(record);
      --reading;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(broken, 0);
}

TEST(Property, IsSafeWhileThreadsCompareCopyArchiveAndReplace) {
  const json::object pages[] = {pageOf('a', 1), pageOf('b', 2)};
  SampleRecord record;
  record.merge(pages[0]);
  std::latch start(3);
  std::atomic<bool> writing = true;
  std::thread writer([&] {
    start.arrive_and_wait();
    for (int at = 0; at < 200; ++at) {
      record.inner = nullptr;
      record.merge(pages[at % 2]);
    }
    writing = false;
  });
  int torn = 0;
  std::thread copier([&] {
    start.arrive_and_wait();
    do {
      if (!isOneOfTwo(record.copyWithZone()->other, 2000)) ++torn;
      KeyedArchive archive;
      record.encodeWithCoder(archive);
      if (!isOneOfTwo(SampleRecord::initWithCoder(archive)->text, 60)) ++torn;
    } while (writing);
  });
  std::thread comparer([&] {
    start.arrive_and_wait();
    const auto same = makeRecord<SampleRecord>(pages[0]);
    do {
      record.isEqual(same.get());
      same->isEqual(&record);
      record.hash();
    } while (writing);
  });
  writer.join();
  copier.join();
  comparer.join();
  EXPECT_EQ(torn, 0);
  EXPECT_TRUE(record.isEqual(makeRecord<SampleRecord>(pages[1]).get()));
}

}  // namespace
}  // namespace orv::property_test
