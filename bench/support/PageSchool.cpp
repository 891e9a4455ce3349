#include "PageSchool.h"

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/platform/PropertyListFile.h>
#include <orvnetwork/platform/SerialQueue.h>
#include <orvnetwork/platform/native/NativePlatform.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include "bench/support/OpenLink.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace bench {

namespace {

namespace json = orv::json;

constexpr std::int64_t kPageSize = 30;

std::atomic<std::int64_t> listed = 0;

json::object courseOf(std::int64_t room) {
  const std::string number = std::to_string(room);
  const std::string place = "https://cdn.example.test/courses/" + number;
  return {{"roomID", room},
          {"title", "分数的加减 " + number},
          {"coverUrl", place + "/cover.jpg"},
          {"flvUrl", place + ".flv"},
          {"hlsUrl", place + ".m3u8"},
          {"videoUrl", place + ".mp4"},
          {"shareUrl", place + ".html"},
          {"viewCnt", 1'200 + room % 97},
          {"duration", 2'700.5},
          {"updatetime", 1'706'661'902 + room},
          {"addtime", 1'706'600'000 + room},
          {"startTime", 1'706'650'000 + room},
          {"startTimeEnable", 1},
          {"whiteboardDataID", 77'000 + room},
          {"uID", 100'001},
          {"classroomID", 5'001},
          {"liveType", 2},
          {"status", 3},
          {"publishStatus", 1},
          {"videoStatus", 2},
          {"enrolmentCnt", 42},
          {"coursePrice", 9.9},
          {"teacher", "林美玲"},
          {"teacherIntro", "数学教师"},
          {"intro", "分数的加减与比较"},
          {"nick", "林老师"},
          {"userpic", place + "/teacher.png"},
          {"rolename", "teacher"},
          {"role", 2}};
}

/// The items of a page, counted from 1.
std::string pageText(std::int64_t page) {
  static std::mutex mutex;
  static std::map<std::pair<std::int64_t, std::int64_t>, std::string> made;
  const std::int64_t first = listed - (page - 1) * kPageSize;
  const std::lock_guard lock(mutex);
  std::string& text = made[{first, std::min(first, kPageSize)}];
  if (text.empty()) {
    json::array items;
    for (std::int64_t room = first; room > std::max<std::int64_t>(first - kPageSize, 0); --room) {
      items.emplace_back(courseOf(room));
    }
    text = orv::writeJsonCompact(json::value(std::move(items))).value();
  }
  return text;
}

std::string answerTo(const std::string& text) {
  if (text == "PING") return "PONG";
  const auto request = orv::parseJson(text);
  if (!request) return "";
  const json::object& frame = request->as_object();
  const bool isPage = frame.at("c") == "Course.Get.Items";
  const std::string data =
      isPage ? pageText(frame.at("v").at("start").to_number<std::int64_t>()) : std::string("{}");
  return R"({"C":)" + orv::writeJsonCompact(frame.at("c")).value() + R"(,"s":)" +
         orv::writeJsonCompact(frame.at("s")).value() + R"(,"v":{"ret":0,"data":)" + data + "}}";
}

/// A socket whose peer is the school. Answers come as from an I/O thread.
class SchoolSocket final : public orv::WebSocket, public std::enable_shared_from_this<SchoolSocket> {
 public:
  explicit SchoolSocket(orv::WebSocketRequest request) : request_(std::move(request)) {}

  void setDelegate(orv::WebSocketDelegate* delegate) override { delegate_ = delegate; }
  void open() override {
    state_ = orv::WebSocketState::Open;
    tell([](orv::WebSocketDelegate& delegate, SchoolSocket& self) { delegate.webSocketDidOpen(self); });
  }
  void close() override { state_ = orv::WebSocketState::Closed; }
  void send(std::shared_ptr<const std::string> text) override {
    if (text != nullptr) queue_->post([self = shared_from_this(), text] { self->answer(*text); });
  }
  void sendPing(std::string) override {}
  orv::WebSocketState readyState() const override { return state_; }

 private:
  void answer(const std::string& text) {
    auto message = std::make_shared<orv::WebSocketMessage>();
    message->payload = answerTo(text);
    if (request_.prepare) message->prepared = request_.prepare(message->payload);
    tell([message](orv::WebSocketDelegate& delegate, SchoolSocket& self) {
      delegate.webSocket_didReceiveMessage(self, std::move(*message));
    });
  }
  template <typename Event>
  void tell(Event event) {
    orv::MainQueue::instance().post([self = shared_from_this(), event = std::move(event)] {
      if (orv::WebSocketDelegate* const delegate = self->delegate_) event(*delegate, *self);
    });
  }

  const orv::WebSocketRequest request_;
  const std::shared_ptr<orv::SerialQueue> queue_ =
      orv::SerialQueue::make("bench.school", orv::Platform::current().globalQueue());
  std::atomic<orv::WebSocketDelegate*> delegate_ = nullptr;
  std::atomic<orv::WebSocketState> state_ = orv::WebSocketState::Connecting;
};

/// The operating system with the school's sockets.
class SchoolPlatform final : public orv::Platform {
 public:
  orv::Clock& clock() override { return inner_->clock(); }
  orv::MainQueue& mainQueue() override { return inner_->mainQueue(); }
  orv::Executor& globalQueue() override { return inner_->globalQueue(); }
  orv::DelayService& delays() override { return inner_->delays(); }
  orv::Reachability& reachability() override { return inner_->reachability(); }
  orv::FileSystem& files() override { return inner_->files(); }
  orv::Directories& directories() override { return inner_->directories(); }
  std::uint32_t random() override { return inner_->random(); }
  std::shared_ptr<orv::WebSocket> makeWebSocket(orv::WebSocketRequest request) override {
    return std::make_shared<SchoolSocket>(std::move(request));
  }
  std::unique_ptr<orv::BackgroundDrain> makeBackgroundDrain(std::function<void()> drain) override {
    return inner_->makeBackgroundDrain(std::move(drain));
  }
  std::string localeName() override { return inner_->localeName(); }
  orv::TimeZonePtr timeZone() override { return inner_->timeZone(); }

 private:
  const std::unique_ptr<orv::Platform> inner_ = orv::makeNativePlatform();
};

}  // namespace

void PageSchool::install() {
  orv::Platform::install(std::make_unique<SchoolPlatform>());
}

void PageSchool::setCourses(std::int64_t courses) {
  listed = courses;
}

void PageSchool::signIn() {
  auto user = std::make_shared<orv::OrvUserInfoModel>();
  user->uID = "100001";
  user->token = "token";
  user->classroom = "5001";
  user->classroominfo = orv::makeRecord<orv::OrvClassroomInfo>({{"id", "5001"}, {"title", "五年级一班"}});
  orv::QXUserInfoMgr::getInstance().setUserInfo(user);
  openLink("ws://127.0.0.1:1");
}

std::vector<std::string> PageSchool::keys(std::int64_t count) {
  std::vector<std::string> keys;
  for (std::int64_t room = listed; room > std::max<std::int64_t>(listed - count, 0); --room) {
    keys.push_back(std::to_string(room));
  }
  return keys;
}

void PageSchool::writeRecords(const std::string& folder, std::int64_t from, std::int64_t downTo) {
  for (std::int64_t room = from; room >= downTo; --room) {
    const auto course = orv::makeRecord<orv::OrvCourseModel>(courseOf(room));
    orv::writePropertyListFile(folder + "/" + std::to_string(room) + ".plist", course->jsonObject(),
                               orv::Durability::Plain, orv::kPrivateFileMode);
  }
}

}  // namespace bench
