#include <orvnetwork/course/detail/UnwrittenRecords.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace orv::unwritten_records_test {

namespace {

using Done = std::vector<std::string>;

/// Long enough for a thread that waits for nothing to be done.
constexpr std::chrono::milliseconds kAWhile{50};

class UnwrittenRecordsTest : public ::testing::Test {
 protected:
  static json::object titled(const char* title) { return {{"title", title}}; }
  static std::string spell(const std::string& path, const UnwrittenRecords::Values& values) {
    return path + (values ? " " + std::string(values->at("title").as_string()) : " goes");
  }
  Done finish() {
    Done done;
    records.finish([&](const std::string& path, const auto& values) { done.push_back(spell(path, values)); });
    return done;
  }

  UnwrittenRecords records;
};

TEST_F(UnwrittenRecordsTest, AreDoneOnceAndInTheOrderInWhichTheyCame) {
  records.add("b", titled("1"));
  records.add("a", titled("2"));
  records.add("c", std::nullopt);
  EXPECT_EQ(finish(), (Done{"b 1", "a 2", "c goes"}));
  EXPECT_EQ(finish(), Done{});
}

TEST_F(UnwrittenRecordsTest, AreFoundUntilTheyAreDone) {
  records.add("a", titled("1"));
  records.add("b", std::nullopt);
  ASSERT_NE(records.find("a"), nullptr);
  EXPECT_EQ(**records.find("a"), titled("1"));
  ASSERT_NE(records.find("b"), nullptr);
  EXPECT_FALSE(*records.find("b")) << "it is to be removed";
  EXPECT_EQ(records.find("c"), nullptr);
  records.finish([this](const std::string& path, const auto&) {
    EXPECT_NE(records.find(path), nullptr) << "who asks before it is done is told what it will be";
  });
  EXPECT_EQ(records.find("a"), nullptr);
  EXPECT_EQ(records.find("b"), nullptr);
}

TEST_F(UnwrittenRecordsTest, NewOneTakesThePlaceOfTheOldOne) {
  records.add("a", titled("1"));
  records.add("b", titled("2"));
  records.add("a", std::nullopt);
  records.add("a", titled("3"));
  EXPECT_EQ(finish(), (Done{"a 3", "b 2"}));
}

TEST_F(UnwrittenRecordsTest, OneThatIsForgottenIsNotDone) {
  records.add("a", titled("1"));
  records.add("b", titled("2"));
  records.forget("a");
  records.forget("c");
  EXPECT_EQ(records.find("a"), nullptr);
  EXPECT_EQ(finish(), Done{"b 2"});
}

TEST_F(UnwrittenRecordsTest, OneThatComesWhileItsFileIsBeingChangedIsDoneToo) {
  records.add("a", titled("1"));
  Done done;
  records.finish([&](const std::string& path, const auto& values) {
    done.push_back(spell(path, values));
    if (done.size() == 1) records.add("a", titled("2"));
  });
  EXPECT_EQ(done, (Done{"a 1", "a 2"}));
  EXPECT_EQ(records.find("a"), nullptr);
}

/// A thread that is in the middle of the file "a".
class Busy {
 public:
  explicit Busy(UnwrittenRecords& records) {
    records.add("a", json::object{{"title", "1"}});
    thread_ = std::thread([this, &records] {
      records.finish([this](const std::string&, const auto&) {
        begun_.set_value();
        mayEnd_.get_future().wait();
        hasEnded = true;
      });
    });
    begun_.get_future().wait();
  }
  ~Busy() { thread_.join(); }
  void end() { mayEnd_.set_value(); }

  std::atomic<bool> hasEnded = false;

 private:
  std::promise<void> begun_, mayEnd_;
  std::thread thread_;
};

TEST_F(UnwrittenRecordsTest, WhoForgetsOneWaitsUntilItsFileIsNoLongerBeingChanged) {
  Busy busy(records);
  records.forget("b");
  EXPECT_FALSE(busy.hasEnded) << "another file is waited for by nobody";
  std::promise<void> begun;
  auto forgotten = std::async(std::launch::async, [&] {
    begun.set_value();
    records.forget("a");
  });
  begun.get_future().wait();
  EXPECT_EQ(forgotten.wait_for(kAWhile), std::future_status::timeout);
  busy.end();
  forgotten.get();
  EXPECT_TRUE(busy.hasEnded);
}

TEST_F(UnwrittenRecordsTest, WhoFinishesWaitsForWhatAnotherOneHasBegun) {
  Busy busy(records);
  std::promise<void> begun;
  auto finished = std::async(std::launch::async, [&] {
    begun.set_value();
    return finish();
  });
  begun.get_future().wait();
  EXPECT_EQ(finished.wait_for(kAWhile), std::future_status::timeout);
  busy.end();
  EXPECT_EQ(finished.get(), Done{});
}

}  // namespace

}  // namespace orv::unwritten_records_test
