#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/course/detail/PageReply.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/transport/detail/FrameHead.h>
#include <orvnetwork/transport/detail/ReplyFrame.h>

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace orv::page_reply_test {
namespace {

constexpr std::string_view kReply =
    R"({"C":"a","s":12,"v":{"ret":0,"data":[{"roomID":7,"title":"六年级数学分数课程"},3,{"roomID":"8"}]}})";

std::shared_ptr<const ReplyFrame> unreadFrame(std::string_view text) {
  return ReplyFrame::ofHead(*FrameHead::read(text), std::string(text));
}
std::shared_ptr<const ReplyFrame> indexedFrame(std::string_view text) {
  return ReplyFrame::ofHead(*FrameHead::read(text), std::string(text), JsonIndex::read(text));
}

class PageReplyOf : public ::testing::TestWithParam<std::shared_ptr<const ReplyFrame> (*)(std::string_view)> {
 protected:
  static std::shared_ptr<const ReplyFrame> frame(std::string_view text) { return GetParam()(text); }
};

TEST_P(PageReplyOf, HasTheItemsOfTheReply) {
  const PageReply reply{UnreadReply(frame(kReply))};
  EXPECT_TRUE(reply.hasValues());
  EXPECT_TRUE(reply.hasItems());
  const PageItems items = reply.items(3);
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items.page(), 3);
  EXPECT_EQ(items.key(0), "7");
  EXPECT_EQ(items.position(0), 60);
  EXPECT_FALSE(items.course(1).isCourse());
  EXPECT_EQ(items.roomID(1), 0);
  EXPECT_EQ(items.key(2), "8");
  OrvCourseModel course;
  items.course(0).fill(course);
  EXPECT_EQ(course.title, "六年级数学分数课程");
  EXPECT_EQ(course.roomID, 7);
}

TEST_P(PageReplyOf, KeepsTheFrameAndCopiesNothing) {
  auto whole = frame(kReply);
  const std::weak_ptr<const ReplyFrame> watched = whole;
  auto reply = std::make_unique<PageReply>(UnreadReply(std::move(whole)));
  EXPECT_EQ(watched.use_count(), 1) << "it outlives the callback";
  EXPECT_EQ(reply->items(1).key(0), "7");
  reply.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_P(PageReplyOf, SaysWhatIsMissing) {
  for (const std::string_view text : {R"({"s":1})", R"({"v":null})"}) {
    const PageReply reply{UnreadReply(frame(text))};
    EXPECT_FALSE(reply.hasValues()) << text;
    EXPECT_FALSE(reply.hasItems()) << text;
    EXPECT_TRUE(reply.items(1).empty()) << text;
  }
  for (const std::string_view text : {R"({"v":{}})", R"({"v":{"data":{}}})", R"({"v":{"data":null}})"}) {
    const PageReply reply{UnreadReply(frame(text))};
    EXPECT_TRUE(reply.hasValues()) << text;
    EXPECT_FALSE(reply.hasItems()) << text;
    EXPECT_TRUE(reply.items(1).empty()) << text;
  }
  const PageReply none{UnreadReply(frame(R"({"v":{"data":[]}})"))};
  EXPECT_TRUE(none.hasItems());
  EXPECT_TRUE(none.items(1).isLastPage());
}

INSTANTIATE_TEST_SUITE_P(Frames, PageReplyOf,
                         ::testing::Values(
                             +[](std::string_view text) { return ReplyFrame::read(text); }, &unreadFrame,
                             &indexedFrame),
                         [](const auto& tried) {
                           return std::string(std::array{"Values", "Text", "Index"}.at(tried.index));
                         });

TEST(PageReply, OfATextMakesNoValues) {
  for (const auto& frame : {unreadFrame(kReply), indexedFrame(kReply)}) {
    const PageReply reply{UnreadReply(frame)};
    OrvCourseModel course;
    reply.items(1).course(0).fill(course);
    EXPECT_EQ(frame->unreadText(), kReply) << "else they would have been made of it";
  }
}

// What says where a course stands is the same, whichever way it came.
TEST(PageItems, ReadTheSameFromTextsAndFromValues) {
  const std::string text =
      R"([{"roomID":7,"status":4,"publishStatus":"3"},{"status":5.9,"roomID":"12x"},{"roomID":7.0,"status":true},
          {"roomID":7,"publishStatus":"3","status":4},{"publishStatus":"3","status":4,"roomID":7},
          {"roomID":{"a":1}},{"roomID":{"a":1.0}},{"a":1},{},{},"x",1,"1",[1],null,{"roomID":1,"roomID":2}])";
  const auto index = JsonIndex::read(text);
  ASSERT_TRUE(index);
  const json::value values = parseJson(text).value();
  const PageItems fromText(2, index->root(text)), fromValues(2, values.get_array());
  ASSERT_EQ(fromText.size(), fromValues.size());
  for (std::size_t at = 0; at < fromText.size(); ++at) {
    const CourseValues &one = fromText.course(at), &other = fromValues.course(at);
    EXPECT_EQ(one.isCourse(), other.isCourse()) << at;
    EXPECT_EQ(one.roomID(), other.roomID()) << at;
    EXPECT_EQ(one.status(), other.status()) << at;
    EXPECT_EQ(one.publishStatus(), other.publishStatus()) << at;
    EXPECT_EQ(fromText.position(at), fromValues.position(at)) << at;
    EXPECT_TRUE(one.isSameAs(other)) << at;
  }
  EXPECT_EQ(fromText.position(4), 30) << "in another order, and equal";
  EXPECT_EQ(fromText.position(12), 42) << "a text is no number";
}

}  // namespace
}  // namespace orv::page_reply_test
