// Questions without callbacks: one after another, and several at once. Prints the first live courses with their teachers.
//
//   coroutines ws://127.0.0.1:PORT MOBILE PASSWORD

#include <orvnetwork/orvnetwork.h>

#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr auto& askComing =
    orv::ask<&orv::QXAPIHelper::getMyCourseWithStart_limit_completeBlock_timeoutBlock>;
constexpr auto& askCourse = orv::ask<&orv::QXAPIHelper::getCourseInfo_completeBlock_timeoutBlock>;

/// One line about a course. It may be awaited like any question, and is given up when nobody waits for it any more. What
/// comes in is copied, for the caller may be gone when the answer comes.
orv::Pending<std::optional<std::string>> describe(std::string room) {
  auto asked = askCourse(room).deadline(orv::Seconds(5));
  const orv::Reply reply = co_await asked;
  if (!reply) co_return room + ": " + reply.sentence();
  const auto course = orv::makeRecord<orv::OrvCourseModel>(reply.data());
  if (!course) co_return std::nullopt;
  co_return course->title.get().value_or(room) + ", " + course->teacher.get().value_or("nobody");
}

/// Each step waits for the one before it. The client outlives it.
orv::Pending<> show(orv::Client* client, std::string mobile, std::string password) {
  auto signingIn = client->session().signIn(std::move(mobile), std::move(password));
  const orv::SignInResult signedIn = co_await signingIn;
  if (!signedIn) {
    std::cout << signedIn.text() << std::endl;
    co_return;
  }
  auto asked = askComing(0, 5).deadline(orv::Seconds(10));
  const orv::Reply reply = co_await asked;
  if (!reply) {
    std::cout << reply.sentence() << std::endl;
    co_return;
  }

  // All of them are asked before the first is waited for.
  std::vector<orv::Pending<std::optional<std::string>>> lines;
  const orv::json::value* const items = reply.data();
  if (!items || !items->is_array()) co_return;
  for (const orv::json::value& item : items->get_array()) {
    const auto course = orv::makeRecord<orv::OrvCourseModel>(&item);
    if (course) lines.push_back(describe(std::to_string(course->roomID)));
  }
  for (auto& line : lines) {
    const auto text = co_await line;
    std::cout << text.value_or("a course that is none") << std::endl;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return std::cerr << "usage: coroutines URL MOBILE PASSWORD\n", 1;
  orv::ClientOptions options;
  options.server = argv[1];
  options.version = "1.0";
  options.build = "1";
  const auto client = orv::Client::start(options);
  if (!client) return std::cerr << client.error().description << '\n', 1;
  const auto ended =
      show(client->get(), argv[2], argv[3]).then([](orv::PendingEnd) { orv::MainQueue::instance().stop(); });
  orv::MainQueue::instance().run();
}
