// The examples of the headers in data/, as a host would write them.

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/NumericCompare.h>
#include <orvnetwork/data/PathText.h>
#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/data/RecordField.h>
#include <orvnetwork/data/Task.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/data/Utf8.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>

namespace mine {

struct Point {
  int x, y;
};
std::string describe(const Point& point) {
  return orv::formatText("(%d, %d)", point.x, point.y);
}

class Teacher final : public orv::Record {
 public:
  orv::Property<orv::OptionalString> name;

  const orv::RecordTable& fields() const override {
    static const auto& table = *new orv::RecordTable({orv::recordField<&Teacher::name>("name")});
    return table;
  }
  bool isEqual(const orv::Record* other) const override {
    return other != nullptr && orv::allFieldsEqual(*this, *other);
  }
  std::size_t hash() const override { return orv::hashOfAllFields(*this); }
};

class Lesson final : public orv::Record {
 public:
  orv::Property<std::int64_t> lessonID;
  orv::Property<orv::OptionalString> title;
  orv::Property<double> price;
  orv::Property<bool> isFree;
  orv::Property<std::optional<orv::json::array>> tags;
  orv::Property<std::shared_ptr<Teacher>> teacher;

  double duration() const { return duration_ > 0 ? duration_.get() : 2700; }
  void setDuration(double seconds) { duration_ = seconds; }

  const orv::RecordTable& fields() const override;
  bool isEqual(const orv::Record* other) const override {
    return other != nullptr && orv::allFieldsEqual(*this, *other);
  }
  std::size_t hash() const override { return orv::hashOfAllFields(*this); }

 private:
  orv::Property<double> duration_;
};

const orv::RecordTable& Lesson::fields() const {
  static const auto& table = *new orv::RecordTable({
      orv::recordField<&Lesson::lessonID>("lessonID", {"id", "lessonID"}),
      orv::recordField<&Lesson::title>("title"),
      orv::recordField<&Lesson::price>("price"),
      orv::recordField<&Lesson::isFree>("isFree"),
      orv::recordField<&Lesson::tags>("tags"),
      orv::recordField<&Lesson::teacher>("teacher"),
      orv::recordAccessor<&Lesson::duration, &Lesson::setDuration>("duration"),
  });
  return table;
}

}  // namespace mine

namespace orv::documented_example_test {
namespace {

TEST(RecordExample, IsFilledWrittenAndCompared) {
  const auto lesson = makeRecord<mine::Lesson>(
      {{"id", "7"}, {"title", "Algebra"}, {"isFree", "yes"}, {"teacher", {{"name", "Ada"}}}});
  EXPECT_EQ(writeJsonCompact(lesson->jsonObject()),
            R"({"id":7,"title":"Algebra","price":0,"isFree":true,"teacher":{"name":"Ada"},"duration":2700})");
  lesson->merge({{"price", 9.9}, {"duration", 60}, {"other", 1}});
  EXPECT_EQ(lesson->price.get(), 9.9);
  EXPECT_EQ(lesson->duration(), 60);
  const auto same = makeRecord<mine::Lesson>(lesson->jsonObject());
  EXPECT_TRUE(same->isEqual(lesson.get()));
  EXPECT_EQ(same->hash(), lesson->hash());

  std::string shown;
  const json::object values = lesson->jsonObject();
  for (const RecordField& field : lesson->fields().fields()) {
    if (member(values, field.keys.front()) != nullptr) (shown += field.name) += ' ';
  }
  EXPECT_EQ(shown, "lessonID title price isFree teacher duration ");
}

TEST(RecordExample, TakesWhatTheTableOfKindsSays) {
  mine::Lesson lesson;
  lesson.merge({{"title", 12}, {"tags", {1, nullptr}}, {"price", "1.5"}, {"isFree", 2}});
  EXPECT_TRUE(lesson.title == "12");
  lesson.merge({{"title", json::array()}, {"tags", "x"}, {"price", nullptr}, {"isFree", json::object()}});
  EXPECT_TRUE(lesson.title == "12");
  EXPECT_EQ(lesson.tags.get(), (json::array{1, nullptr}));
  EXPECT_EQ(lesson.price.get(), 0);
  EXPECT_FALSE(lesson.isFree);
  lesson.merge({{"title", nullptr}, {"tags", nullptr}, {"teacher", nullptr}});
  EXPECT_EQ(lesson.title.get(), std::nullopt);
  EXPECT_EQ(lesson.tags.get(), std::nullopt);
}

TEST(RecordNumberExample, ReadsAsItSays) {
  EXPECT_EQ(RecordNumber("12abc").as<std::int64_t>(), 12);
  EXPECT_EQ(RecordNumber(3.7).asInt32(), 3);
  EXPECT_EQ(RecordNumber(-1).asUint64(), 18446744073709551615u);
  EXPECT_FALSE(RecordNumber(nullptr).asBool());
  EXPECT_TRUE(RecordNumber(0.5).asBool());
  EXPECT_EQ(RecordNumber("2.5 hours").asDouble(), 2.5);
  EXPECT_EQ(RecordNumber("1e3").asDouble(), 1);
  EXPECT_EQ(RecordNumber(0x1p64).asUint64(), 9223372036854775807u);
}

TEST(LooseReadExample, ReadsAReplyWhateverItHolds) {
  const json::object reply{{"v", {{"ret", "1202"}, {"err", 5}}}};
  const json::object* v = looseObject(member(reply, "v"));
  EXPECT_EQ(looseInt32(member(v, "ret")), 1202);
  EXPECT_EQ(looseString(member(v, "err")), std::nullopt);
  v = looseObject(member(json::object{{"v", 7}}, "v"));
  EXPECT_EQ(looseInt32(member(v, "ret")), 0);

  struct Row {
    json::value value;
    std::int64_t wide;
    std::int32_t narrow;
    double real;
    bool flag;
  };
  for (const Row& row : {Row{5000000000, 5000000000, 705032704, 5e9, true}, Row{-3.7, -3, -3, -3.7, true},
                         Row{true, 1, 1, 1, true}, Row{"12abc", 12, 12, 12, true},
                         Row{" 1e3", 1, 1, 1000, true}, Row{"5000000000", 5000000000, 2147483647, 5e9, true},
                         Row{"yes", 0, 0, 0, true}, Row{"no", 0, 0, 0, false}, Row{"", 0, 0, 0, false},
                         Row{"0x0", 0, 0, 0, false}, Row{nullptr, 0, 0, 0, false}}) {
    EXPECT_EQ(looseInt64(&row.value), row.wide);
    EXPECT_EQ(looseInt32(&row.value), row.narrow);
    EXPECT_EQ(looseDouble(&row.value), row.real);
    EXPECT_EQ(looseBool(&row.value), row.flag);
  }
}

TEST(TextFormatExample, FillsTheSlots) {
  const OptionalString nick;
  EXPECT_EQ(formatText("%@ has %ld of %d points", nick, std::int64_t{12}, 100),
            "(null) has 12 of 100 points");
  EXPECT_EQ(formatText("%02ld:%02ld", 425 / 60, 425 % 60), "07:05");
  EXPECT_EQ(formatText("%@", json::object{{"ret", 0}}), "{\n    ret = 0;\n}");
  EXPECT_EQ(formatText("at %@", mine::Point{1, -2}), "at (1, -2)");
  EXPECT_EQ(
      describe(json::object{{"ret", 1202}, {"rooms", {7, "文"}}, {"err", "no such room"}}),
      "{\n    err = \"no such room\";\n    ret = 1202;\n    rooms = (\n        7,\n        \"\\U6587\"\n"
      "    );\n}");
}

TEST(PropertyExample, ReadsAndIsWrittenLikeAMember) {
  struct {
    Property<OptionalString> title;
    Property<std::int64_t> minutes;
  } lesson;
  lesson.title = "Algebra";
  lesson.minutes = 45;
  const OptionalString title = lesson.title;
  EXPECT_EQ(title, "Algebra");
  EXPECT_TRUE(lesson.title == "Algebra" && lesson.minutes > 30);
  EXPECT_FALSE(lesson.title.visit([](const OptionalString& text) { return text && text->size() > 40; }));
}

TEST(TaskExample, IsKeptForLater) {
  int closed = 0;
  auto file = std::make_unique<int>(1);
  std::vector<Task> later;
  later.emplace_back([&closed, file = std::move(file)]() mutable { closed += *file; });
  for (Task& task : later) task();
  later.clear();
  EXPECT_EQ(closed, 1);
}

std::string offered(const Object& title, const Object& price) {
  return formatText("%@ for %@", title, price);
}

TEST(TypesExample, SaysWhatIsAbsent) {
  json::object values{{"roomID", 5000123}, {"tags", {"a", "b"}}};
  values["title"] = "Algebra";
  EXPECT_EQ(offered("Algebra", 9.9), "Algebra for 9.9");
  EXPECT_EQ(offered(values["title"], std::nullopt), "Algebra for (null)");
  const Seconds limit = std::chrono::milliseconds(1500);
  EXPECT_EQ(limit.count(), 1.5);
}

Result<json::object> readFrame(std::string_view text) {
  Result<json::value> parsed = parseJson(text);
  if (!parsed) return parsed.error();
  if (!parsed->is_object()) return Error{"MyFrames", 1, "the frame is not a dictionary"};
  return std::move(parsed->get_object());
}

TEST(ResultExample, IsAValueOrAnError) {
  EXPECT_EQ(readFrame(R"({"ret":0})")->at("ret"), 0);
  EXPECT_EQ(readFrame("[]").error().text(), "MyFrames 1: the frame is not a dictionary");
  EXPECT_EQ(readFrame("PONG").error().domain, kJsonErrorDomain);
  EXPECT_EQ(writeJsonCompact(json::value{1, "x"}).valueOr("?"), R"([1,"x"])");
}

TEST(PropertyListExample, GivesBackWhatWasWritten) {
  const json::object lesson{{"title", "Algebra"}, {"marks", {1, 2.5}}};
  EXPECT_EQ(readPropertyList(*writePropertyList(lesson)), json::value(lesson));
  EXPECT_EQ(writePropertyList(json::object{{"marks", {1, nullptr}}}).error().description,
            "marks[1] is null, which a property list cannot hold");
}

TEST(TextExample, ComparesJoinsAndCuts) {
  std::vector<std::string> names{"part 10", "part 9", "part 1"};
  std::ranges::sort(names,
                    [](const auto& left, const auto& right) { return compareNumerically(left, right) < 0; });
  EXPECT_EQ(names, (std::vector<std::string>{"part 1", "part 9", "part 10"}));
  EXPECT_EQ(appendPathComponent("/home/user/", "a//b"), "/home/user/a/b");
  EXPECT_EQ(appendPathComponent("/", "a"), "/a");
  EXPECT_EQ(appendPathComponent("folder", ""), "folder");
  EXPECT_EQ(utf8Front("a文", 3), "a");
  EXPECT_EQ(utf8SequenceLength("文字"), 3U);
  EXPECT_EQ(utf8SequenceLength("\xC0\xAF"), 0U);
}

}  // namespace
}  // namespace orv::documented_example_test
