#include <orvnetwork/course/detail/PageItems.h>
#include <orvnetwork/transport/detail/CurrentReply.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>

#include <gtest/gtest.h>

#include <memory>

namespace orv::kept_items_test {
namespace {

constexpr const char* kReply =
    R"({"C":"a","v":{"ret":0,"data":[{"roomID":7,"title":"六年级数学分数课程"}]}})";

const json::array& itemsOf(const ReplyFrame& frame) {
  return frame.dictionary().at("v").at("data").get_array();
}

TEST(KeptItems, AreThoseOfTheReplyItselfInItsCallback) {
  auto frame = ReplyFrame::read(kReply);
  std::shared_ptr<const json::array> items;
  {
    const CurrentReply current(frame);
    items = keepItems(frame->dictionary());
  }
  ASSERT_TRUE(items);
  EXPECT_EQ(items.get(), &itemsOf(*frame)) << "nothing was copied";
  EXPECT_EQ(frame.use_count(), 2);
  frame = nullptr;
  EXPECT_EQ(items->at(0).at("title").as_string(), "六年级数学分数课程") << "they outlive the call";
}

TEST(KeptItems, AreACopyOfThoseOfAnyOtherReply) {
  std::shared_ptr<const json::array> items;
  {
    const auto frame = ReplyFrame::read(kReply);
    items = keepItems(frame->dictionary());
    ASSERT_TRUE(items);
    EXPECT_NE(items.get(), &itemsOf(*frame));
  }
  EXPECT_EQ(items->at(0).at("roomID").as_int64(), 7);
}

TEST(KeptItems, AreNullWhereThereIsNoArray) {
  for (const char* reply :
       {"{}", R"({"v":null})", R"({"v":{}})", R"({"v":{"data":{}}})", R"({"v":{"data":null}})"}) {
    const auto frame = ReplyFrame::read(reply);
    ASSERT_TRUE(frame->isFrame()) << reply;
    const CurrentReply current(frame);
    EXPECT_EQ(keepItems(frame->dictionary()), nullptr) << reply;
    EXPECT_EQ(frame.use_count(), 1) << reply;
  }
}

}  // namespace
}  // namespace orv::kept_items_test
