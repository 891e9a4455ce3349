#include "tests/devserver/EventReader.h"
#include "tests/devserver/RawClient.h"
#include "tests/devserver/ServerTest.h"

#include <chrono>
#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace orv::test::page_test {
namespace {

class PageOfTheServer : public ServerTest {
 protected:
  struct Answer {
    int status = 0;
    std::string head, body;
  };
  /// One request with the head as given; "Host" included.
  Answer ask(const std::string& head, const std::string& method = "GET", const std::string& target = "/",
             const std::string& body = "") {
    RawClient client(server.port());
    client.sendBytes(method + " " + target + " HTTP/1.1\r\n" + head +
                     "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    Answer answer;
    answer.head = client.receiveUntil("\r\n\r\n");
    answer.status = answer.head.size() > 12 ? std::stoi(answer.head.substr(9, 3)) : 0;
    if (answer.head.find("text/event-stream") == std::string::npos) answer.body = client.receiveRest();
    return answer;
  }
  std::string own() const { return "127.0.0.1:" + std::to_string(server.port()); }
  std::string ownHost() const { return "Host: " + own() + "\r\n"; }
};

std::vector<std::string> faultsOf(const json::object& frame) {
  std::vector<std::string> names;
  if (const json::value* faults = frame.if_contains("faults")) {
    for (const json::value& name : faults->as_array()) names.emplace_back(name.as_string().c_str());
  }
  return names;
}

using Names = std::vector<std::string>;

TEST_F(PageOfTheServer, IsServedWithAPolicyThatLetsInNothingForeign) {
  const Answer page = ask(ownHost());
  EXPECT_EQ(page.status, 200);
  EXPECT_NE(page.head.find("Content-Type: text/html; charset=utf-8\r\n"), std::string::npos);
  EXPECT_NE(page.head.find("Content-Security-Policy: default-src 'none';"), std::string::npos);
  EXPECT_NE(page.head.find("frame-ancestors 'none'"), std::string::npos);
  EXPECT_EQ(page.head.find("unsafe"), std::string::npos);
  EXPECT_NE(page.head.find("X-Content-Type-Options: nosniff\r\n"), std::string::npos);
  EXPECT_NE(page.head.find("Cache-Control: no-store\r\n"), std::string::npos);
  EXPECT_EQ(page.head.find("Access-Control"), std::string::npos);
  EXPECT_EQ(page.body.substr(0, 15), "<!doctype html>");
  EXPECT_EQ(server.pageUrl(), "http://" + own() + "/");
}

TEST_F(PageOfTheServer, EveryFileThatItNamesIsServedByTheServerItself) {
  const std::string page = ask(ownHost()).body;
  Names files;
  const std::regex reference("(?:src|href)=\"([^\"#][^\"]*)\"");
  for (std::sregex_iterator found(page.begin(), page.end(), reference), end; found != end; ++found) {
    files.push_back((*found)[1]);
  }
  const std::string script = ask(ownHost(), "GET", "/page.js").body;
  const std::regex import("from '\\./([a-z.]+)'");
  for (std::sregex_iterator found(script.begin(), script.end(), import), end; found != end; ++found) {
    files.push_back("/" + (*found)[1].str());
  }
  EXPECT_GE(files.size(), 6u);
  for (const std::string& file : files) {
    const Answer answer = ask(ownHost(), "GET", file);
    EXPECT_EQ(answer.status, 200) << file;
    EXPECT_FALSE(answer.body.empty()) << file;
    const std::string type = file.ends_with(".js")    ? "text/javascript"
                             : file.ends_with(".css") ? "text/css"
                                                      : "image/svg";
    EXPECT_NE(answer.head.find("Content-Type: " + type), std::string::npos) << file;
  }
}

TEST_F(PageOfTheServer, IsOnlyForReading) {
  EXPECT_EQ(ask(ownHost(), "POST", "/", "x").status, 405);
  EXPECT_EQ(ask(ownHost(), "DELETE", "/page.css").status, 405);
  EXPECT_EQ(ask(ownHost(), "POST", "/events").status, 405);
  EXPECT_EQ(ask(ownHost(), "GET", "/index.html").status, 404);
  EXPECT_EQ(ask(ownHost(), "GET", "/../CMakeLists.txt").status, 404);
}

TEST_F(PageOfTheServer, IsServedOverTheAddressesOfThisMachineOnly) {
  for (const char* host :
       {"127.0.0.1", "localhost", "LOCALHOST:1", "[::1]", "[::1]:8080", "127.0.0.1:65535"}) {
    EXPECT_EQ(ask("Host: " + std::string(host) + "\r\n").status, 200) << host;
  }
  for (const char* host : {"classroom.example", "127.0.0.1.example", "localhost.example:80", "10.0.0.1",
                           "[::2]", "", "127.0.0.1@example", "[::1", "0.0.0.0"}) {
    for (const char* target : {"/", "/page.js", "/events", "/control"}) {
      EXPECT_EQ(ask("Host: " + std::string(host) + "\r\n", "GET", target).status, 403) << host << target;
    }
  }
  EXPECT_EQ(ask("").status, 403);
}

TEST_F(PageOfTheServer, NoPageOfSomeoneElseDrivesTheServerOrReadsItsEvents) {
  for (const char* origin :
       {"http://classroom.example", "null", "http://127.0.0.1", "http://127.0.0.1:1", "file://"}) {
    const std::string head = ownHost() + "Origin: " + origin + "\r\n";
    EXPECT_EQ(ask(head, "GET", "/events").status, 403) << origin;
    EXPECT_EQ(ask(head, "POST", "/control", R"({"silence":true})").status, 403) << origin;
  }
  EXPECT_EQ(ask(ownHost() + "Origin: https://" + own() + "\r\n", "GET", "/events").status, 403);
  for (const char* site : {"cross-site", "same-site"}) {
    const std::string head = ownHost() + "Sec-Fetch-Site: " + site + "\r\n";
    EXPECT_EQ(ask(head, "GET", "/events").status, 403) << site;
    EXPECT_EQ(ask(head, "GET", "/page.js").status, 403) << site;
    EXPECT_EQ(ask(head, "POST", "/control", R"({"silence":true})").status, 403) << site;
    EXPECT_EQ(ask(head).status, 200) << "a link may lead to the page";
  }
  EXPECT_FALSE(server.faults().silent());
}

TEST_F(PageOfTheServer, ItsOwnPageDrivesTheServerAndReadsItsEvents) {
  const std::string head = ownHost() + "Origin: http://" + own() + "\r\nSec-Fetch-Site: same-origin\r\n";
  EXPECT_EQ(ask(head, "POST", "/control", R"({"silence":true})").status, 200);
  EXPECT_TRUE(server.faults().silent());
  const Answer events = ask(head, "GET", "/events");
  EXPECT_EQ(events.status, 200);
  EXPECT_NE(events.head.find("Cache-Control: no-store\r\n"), std::string::npos);
  EXPECT_EQ(events.head.find("Content-Length"), std::string::npos);
}

TEST_F(PageOfTheServer, EventsTellThePastFirstAndThenWhatPasses) {
  RawClient client = open();
  EXPECT_EQ(alive(client), "PONG");
  const std::string request = RawClient::standardFrame("Dev.Echo", {{"text", "小明"}, {"n", 1}}, "17");
  client.sendText(request);
  const std::string reply = client.receiveText();

  EventReader events(server.port());
  const auto hello = events.next();
  EXPECT_EQ(hello.name, "hello");
  EXPECT_EQ(hello.data.at("resumed"), false);
  EXPECT_EQ(hello.data.at("next"), 1);
  EXPECT_EQ(events.next().name, "state");
  const Names kinds = {"opened", "ping", "pong", "request", "reply"};
  const Names directions = {"none", "in", "out", "in", "out"};
  const std::vector<std::size_t> sizes = {0, 4, 4, request.size(), reply.size()};
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const json::object frame = events.frame();
    EXPECT_EQ(frame.at("number"), i + 1);
    EXPECT_EQ(frame.at("kind").as_string(), kinds[i]);
    EXPECT_EQ(frame.at("direction").as_string(), directions[i]);
    EXPECT_EQ(frame.at("bytes"), sizes[i]);
    EXPECT_EQ(frame.at("connection"), 1);
    EXPECT_EQ(frame.contains("ms"), kinds[i] == "pong" || kinds[i] == "reply");
    if (i < 3) continue;
    EXPECT_EQ(frame.at("command"), "Dev.Echo");
    EXPECT_EQ(frame.at("frame"), json::parse(i == 3 ? request : reply));
  }
  client.sendText(RawClient::standardFrame("Dev.Later", {}, "18"));
  EXPECT_EQ(events.frame().at("command"), "Dev.Later");
  EXPECT_EQ(events.frame().at("kind"), "reply");
}

TEST_F(PageOfTheServer, RepliesTellTheTimeSinceTheirRequestAndWhatFaultsDid) {
  EventReader events(server.port());
  RawClient client = open();
  auto reply = [&](const char* timestamp) {
    send(client, timestamp);
    return events.frame("reply");
  };
  EXPECT_LT(reply("1").at("ms").as_double(), 10'000);
  server.faults().delayReplies(60ms, "Dev.Echo", 1);
  const json::object delayed = reply("2");
  EXPECT_GE(delayed.at("ms").as_double(), 60);
  EXPECT_EQ(faultsOf(delayed), Names{"delayed"});
  server.faults().dropReplies(1);
  EXPECT_EQ(faultsOf(reply("3")), Names{"dropped"});
  server.faults().duplicateReplies(1);
  EXPECT_EQ(faultsOf(reply("4")), Names{});
  EXPECT_EQ(faultsOf(events.frame("reply")), Names{"copy"});
  server.faults().spoilTimestamp(devserver::TimestampFault::Unknown);
  server.faults().failRequests(1000, "no");
  const json::object spoilt = reply("5");
  EXPECT_EQ(faultsOf(spoilt), (Names{"wrong s", "error code"}));
  EXPECT_EQ(spoilt.at("code"), 1000);
  EXPECT_EQ(spoilt.at("frame").at("s"), 1);
  server.faults().reorderReplies(2);
  send(client, "6");
  const json::object second = reply("7");
  EXPECT_EQ(second.at("frame").at("s"), "7");
  EXPECT_EQ(faultsOf(second), Names{"reordered"});
  EXPECT_EQ(events.frame("reply").at("frame").at("s"), "6");
  server.faults().setPingAnswer("PONK");
  client.sendText("PING");
  EXPECT_EQ(faultsOf(events.frame("pong")), Names{"wrong answer"});
  server.faults().setSilent(true);
  send(client, "8");
  EXPECT_EQ(faultsOf(events.frame("unread")), Names{"no answer"});
}

TEST_F(PageOfTheServer, PushesGarbageAndMalformedFramesShowAsWhatTheyAre) {
  EventReader events(server.port());
  RawClient client = open();
  server.push("Rooms.Push.Message", {{"type", 3}, {"n", 1}});
  EXPECT_EQ(events.frame("push").at("command"), "Rooms.Push.Message");
  server.sendText("free text");
  EXPECT_EQ(events.frame("push").at("text"), "free text");
  server.sendGarbage(devserver::Garbage::invalidUtf8());
  EXPECT_EQ(events.frame("push").at("text"), "{\"C\":\"\\xff\\xfe\\xc0\\x80\"}");
  server.sendGarbage(devserver::Garbage::deepNesting(5000));
  const json::object deep = events.frame("push");
  EXPECT_TRUE(deep.contains("text"));
  EXPECT_FALSE(deep.contains("frame"));
  server.sendGarbage(devserver::Garbage::binary(std::string("\0\x1f\xff", 3)));
  EXPECT_EQ(events.frame("binary").at("hex"), "00 1f ff");
  server.sendGarbage(devserver::Garbage::wire("\xf0"));
  EXPECT_EQ(events.frame("wire").at("hex"), "f0");
  client.sendText("{\"v\":1}");
  EXPECT_EQ(events.frame("malformed").at("frame").at("v"), 1);
  client.sendFrame(2, "\x01\x02");
  EXPECT_EQ(events.frame("binary").at("direction"), "in");
}

TEST_F(PageOfTheServer, LongFramesAreShownUpToABoundWithTheirTrueSize) {
  EventReader events(server.port());
  RawClient client = open();
  std::string text;
  while (text.size() < 300'000) text += "小";
  server.sendText(text);
  const json::object frame = events.frame("push");
  EXPECT_EQ(frame.at("bytes"), text.size());
  EXPECT_EQ(frame.at("truncated"), true);
  EXPECT_LE(frame.at("text").as_string().size(), 128u << 10);
  EXPECT_GE(frame.at("text").as_string().size(), (128u << 10) - 4);
}

TEST_F(PageOfTheServer, SecretsAreHidden) {
  EventReader events(server.port());
  RawClient client = open();
  const std::string token = data(login(client)).at("token").as_string().c_str();
  client.request("User.Post.Session", {{"uID", "100001"}, {"token", token}}, "2");
  client.request("User.Post.Cpwd", {{"type", 0}, {"opwd", "old-secret"}, {"npwd", "new-secret"}}, "3");
  client.request("Dev.Echo",
                 {{"inner", {{"SCODE", "inner-secret"}, {"Password", "inner-secret"}}},
                  {"note", R"({"pass":"text-secret","password":"text-secret"})"}},
                 "4");
  client.sendText(R"({"c":"User.Post.Login","s":"5","v":{"passwd":"secret","password":"cut-secret)");
  server.sendText("token=plain-secret&x=1");
  server.sendText("\xf7pwd=byte-secret");
  server.push("Dev.Last");
  EXPECT_EQ(events.frame("request").at("frame").at("v").at("pwd"), "***");
  EXPECT_EQ(events.frame("reply").at("frame").at("v").at("data").at("token"), "***");
  while (events.frame("push").at("bytes") != 22) {
  }
  for (const std::string& secret : {std::string(kDigest), token, std::string("secret")}) {
    EXPECT_EQ(events.text().find(secret), std::string::npos) << secret;
  }
  EXPECT_NE(events.text().find("13800000001"), std::string::npos) << "what is no secret stays";
}

TEST_F(PageOfTheServer, StateTellsWhoIsConnectedAndFollows) {
  EventReader events(server.port());
  EXPECT_TRUE(events.next("state").data.at("connections").as_array().empty());
  const double before =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  auto client = std::make_unique<RawClient>(open());
  login(*client);
  json::object state;
  do {
    state = events.next("state").data;
  } while (state.at("connections").as_array().empty() || state.at("connections").at(0).at("uID") == "");
  const json::object& one = state.at("connections").at(0).as_object();
  EXPECT_EQ(one.at("uID"), "100001");
  EXPECT_EQ(one.at("nick"), "林老师");
  EXPECT_NEAR(one.at("since").as_double(), before, 30);
  server.faults().setSilent(true);
  while (!events.next("state").data.at("faults").as_object().contains("silence")) {
  }
  client.reset();
  EXPECT_EQ(events.frame("closed").at("user"), "100001");
  while (!events.next("state").data.at("connections").as_array().empty()) {
  }
}

TEST_F(PageOfTheServer, ThePastIsBoundedByNumber) {
  RawClient client = open();
  for (int i = 0; i < 1100; ++i) client.sendText("PING");
  for (int i = 0; i < 1100; ++i) ASSERT_EQ(client.receiveText(), "PONG");
  EventReader events(server.port());
  EXPECT_EQ(events.next().data.at("next"), 1202);  // of 2201 in all
  for (std::uint64_t number = 1202; number <= 2201; ++number) ASSERT_EQ(events.frame().at("number"), number);
}

TEST_F(PageOfTheServer, ThePastIsBoundedByBytes) {
  RawClient client = open();
  const std::string text(100'000, 'x');
  for (int i = 0; i < 100; ++i) server.sendText(text);
  EventReader events(server.port());
  const auto next = events.next().data.at("next").as_int64();
  EXPECT_GT(next, 101 - (4 << 20) / 100'000 - 1);
  EXPECT_LT(next, 80);
}

TEST_F(PageOfTheServer, AReaderThatComesAgainGetsWhatItHasMissedAndNothingTwice) {
  RawClient client = open();
  std::string last;
  {
    EventReader events(server.port());
    EXPECT_EQ(alive(client), "PONG");
    for (int i = 0; i < 3; ++i) last = events.next("frame").id;
  }
  send(client, "1");
  client.receiveText();
  EventReader again(server.port(), "Last-Event-ID: " + last + "\r\n");
  EXPECT_EQ(again.next().data.at("resumed"), true);
  EXPECT_EQ(again.frame().at("number"), 4);
  for (const char* unknown : {"", "7-3", "x", "99999999999999999999-1"}) {
    EventReader stranger(server.port(), "Last-Event-ID: " + std::string(unknown) + "\r\n");
    EXPECT_EQ(stranger.next().data.at("resumed"), false) << unknown;
    EXPECT_EQ(stranger.frame().at("number"), 1) << unknown;
  }
  EventReader future(server.port(), "Last-Event-ID: " + last + "000\r\n");
  EXPECT_EQ(future.next().data.at("resumed"), false);
}

TEST_F(PageOfTheServer, AReaderThatDoesNotReadMissesFramesIsToldHowManyAndHoldsUpNobody) {
  EventReader slow(server.port(), "", false, 4096);
  EXPECT_EQ(slow.next().name, "hello");
  RawClient client = open();
  std::thread taker([&] {
    for (int i = 0; i < 2000; ++i) client.receive();
  });
  const std::string text(20'000, 'x');
  for (int i = 0; i < 2000; ++i) server.sendText(text);  // 40 MB
  taker.join();
  server.push("Dev.Last");
  std::int64_t frames = 0, skipped = 0, expected = 1;
  for (bool last = false; !last;) {
    const auto event = slow.next();
    ASSERT_FALSE(event.name.empty());
    if (event.name == "skipped") {
      skipped += event.data.at("frames").as_int64();
      expected += event.data.at("frames").as_int64();
    } else if (event.name == "frame") {
      ++frames;
      EXPECT_EQ(event.data.at("number"), expected++);
      last = event.data.contains("command") && event.data.at("command") == "Dev.Last";
    }
  }
  EXPECT_GT(skipped, 0);
  EXPECT_EQ(frames + skipped, 2002);
  EXPECT_EQ(server.counters().slowReadersCut, 0u);
}

TEST_F(PageOfTheServer, SixteenReadTheEventsAtATimeAndTheOldestGoesForOneThatComes) {
  std::vector<std::unique_ptr<EventReader>> readers;
  for (int i = 0; i < 18; ++i) {
    readers.push_back(std::make_unique<EventReader>(server.port()));
    EXPECT_EQ(readers.back()->next().name, "hello");
  }
  for (std::size_t i = 0; i < 2; ++i) {
    while (!readers[i]->next().name.empty()) {
    }
  }
  server.push("Dev.Any");
  RawClient client = open();
  for (std::size_t i = 2; i < readers.size(); ++i) EXPECT_EQ(readers[i]->frame().at("kind"), "opened") << i;
}

TEST_F(PageOfTheServer, TheStreamEndsWithTheServerAndThePastOutlivesARestart) {
  EventReader events(server.port());
  RawClient client = open();
  EXPECT_EQ(events.frame().at("kind"), "opened");
  server.stop();
  while (!events.next().name.empty()) {
  }
  server.start();
  EventReader after(server.port());
  EXPECT_EQ(after.frame().at("number"), 1);
  RawClient other = open();
  EXPECT_EQ(alive(other), "PONG");
  EXPECT_EQ(after.frame("pong").at("bytes"), 4);
}

TEST_F(PageOfTheServer, FaultsOfTheLinksDoNotTouchThePage) {
  server.faults().setConnectionMode(devserver::ConnectionMode::Refuse);
  server.faults().cutAfterBytes(0, 5);
  server.faults().setSilent(true);
  EXPECT_EQ(ask(ownHost()).status, 200);
  EventReader events(server.port());
  EXPECT_EQ(events.next().name, "hello");
}

}  // namespace
}  // namespace orv::test::page_test
