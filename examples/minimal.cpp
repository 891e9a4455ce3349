// The smallest host: open the link, ask one thing, print the answer.
//
//   minimal ws://127.0.0.1:PORT

#include <orvnetwork/orvnetwork.h>

#include <iostream>

constexpr auto& ask = orv::ask<&orv::QXAPIHelper::requestWithCommand_values_completeBlock_timeoutBlock>;

orv::Pending<> greet(orv::Client* client) {
  auto up = client->link().whenUp().deadline(orv::Seconds(10));
  co_await up;  // where it is not up by then, the answer says why
  auto asked = ask("Dev.Echo", orv::json::object{{"hello", "classroom"}}).deadline(orv::Seconds(10));
  const orv::Reply reply = co_await asked;
  const orv::json::value* const answer = reply ? reply.data() : nullptr;
  if (answer) std::cout << "answer: " << *answer << std::endl;
  if (!answer) std::cout << reply.sentence() << std::endl;
  orv::MainQueue::instance().stop();
}

int main(int argc, char** argv) {
  const auto client = orv::Client::start({.server = argc > 1 ? argv[1] : "", .version = "1.0", .build = "1"});
  if (!client) return std::cerr << client.error().description << '\n', 1;
  const auto greeting = greet(client->get());
  orv::MainQueue::instance().run();
}
