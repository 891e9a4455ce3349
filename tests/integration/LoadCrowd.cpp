#include <tests/integration/LoadClient.h>
#include <tests/integration/LoadCrowd.h>
#include <tests/support/RawPeer.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_map>
#include <utility>

namespace orv::test {

namespace json = boost::json;

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto kPatience = 60s;
constexpr const char* kDigest = "c756662595bb0948d9bbe352fef1c53a";  // of "classroom"

/// What a client asks for, and how often in a thousand.
struct Habit {
  int share;
  const char* command;
  json::object (*values)(std::int64_t room);
};

json::object ofRoom(std::int64_t room) {
  json::object values;
  values.emplace("roomID", room);
  return values;
}

const Habit kHabits[] = {
    {50, "Course.Get.Items",
     [](std::int64_t) {
       return json::object{{"classroomID", 5001}, {"liveType", 2}, {"start", 1}, {"limit", 30}};
     }},
    {50, "Course.Get.Coming",
     [](std::int64_t) {
       return json::object{{"start", 1}, {"limit", 10}};
     }},
    {150, "Course.Get.Info", ofRoom},
    {150, "Course.Get.Row", ofRoom},
    {50, "Live.Room.Get.Stat", ofRoom},
    {70, "Live.Room.Post.Enter", ofRoom},
    {70, "Live.Room.Post.Leave", ofRoom},
    {100, "Course.Get.Wall",
     [](std::int64_t room) {
       return json::object{{"roomID", room}, {"start", 0}, {"limit", 10}};
     }},
    {120, "Course.Post.wall",
     [](std::int64_t room) {
       return json::object{{"roomID", room}, {"content", "弹幕！"}, {"fileType", 1}, {"duration", 1}};
     }},
    {40, "Course.User.Enroll", ofRoom},
    {40, "Course.User.Follow",
     [](std::int64_t room) {
       return json::object{{"roomID", room}, {"type", room % 2}};
     }},
    {50, "Course.User.Mycourse",
     [](std::int64_t) {
       return json::object{{"start", 0}, {"limit", 5}};
     }},
    {60, "Course.Room.Info",
     [](std::int64_t) {
       return json::object{{"classroomID", 5001}, {"app", 2}};
     }},
};

std::int64_t numberAfter(std::string_view text, std::string_view mark) {
  const std::size_t found = text.find(mark);
  return found == text.npos ? -1 : std::atoll(text.data() + found + mark.size());
}

enum class Role { Stays, Breaks, Listens };

struct Asked {
  const char* command;
  std::int64_t room;
  Clock::time_point when;
};

struct Client {
  LoadClient socket{};
  Role role = Role::Stays;
  std::string phone{};
  bool registered = false, signedIn = false, inRoom = false, greeted = false, ponged = false;
  std::int64_t room = 0;
  std::unordered_map<std::int64_t, Asked> open{};
  Clock::time_point breaksAt{};
};

/// The clients of one thread.
class Group {
 public:
  Group(std::uint16_t port, const std::vector<std::int64_t>& rooms, std::atomic<std::size_t>& listening,
        int number, unsigned seed, bool registered)
      : port_(port), rooms_(rooms), listening_(listening), random_(seed + static_cast<unsigned>(number)) {
    clients_.resize(LoadCrowd::kClientsOfThread);
    for (int i = 0; i < LoadCrowd::kClientsOfThread; ++i) {
      Client& client = clients_[static_cast<std::size_t>(i)];
      const int id = number * LoadCrowd::kClientsOfThread + i;
      client.phone = std::to_string(13'500'000'000 + id);
      client.registered = registered;
      client.room = rooms[static_cast<std::size_t>(id) % rooms.size()];
      const bool listens = static_cast<std::size_t>(id) < rooms.size();
      client.role = listens ? Role::Listens : i % 4 == 3 ? Role::Breaks : Role::Stays;
    }
  }

  void work(Clock::time_point end) {
    end_ = end;
    for (Client& client : clients_) connect(client);
    const auto limit = end + kPatience;
    while (Clock::now() < end || (!allAnswered() && Clock::now() < limit)) turn();
    for (const Client& client : clients_) {
      if (client.role != Role::Breaks) figures.unanswered += client.open.size();
    }
  }

  /// Reads all that was pushed to the listeners, and goes.
  void finish() {
    for (Client& client : clients_) client.socket.send(opcode::kText, "PING");
    const auto limit = Clock::now() + kPatience;
    const auto waits = [](const Client& client) { return client.role == Role::Listens && !client.ponged; };
    while (std::ranges::any_of(clients_, waits) && Clock::now() < limit) turn();
    for (const Client& client : clients_) {
      if (waits(client)) ++figures.problems["no PONG"];
    }
    std::size_t number = 0;
    for (Client& client : clients_) {
      client.socket.breakOff(++number % 2 == 0 ? LoadClient::Break::Fin : LoadClient::Break::Reset);
    }
  }

  LoadFigures figures;

 private:
  bool allAnswered() const {
    return std::ranges::all_of(clients_, [](const Client& client) {
      return client.role == Role::Breaks ? client.registered : client.signedIn && client.open.empty();
    });
  }
  bool over() const { return Clock::now() >= end_; }
  int dice(int sides) { return static_cast<int>(random_() % static_cast<unsigned>(sides)); }

  void connect(Client& client) {
    client.open.clear();
    client.signedIn = client.inRoom = client.greeted = false;
    client.breaksAt = Clock::now() + 200ms + dice(600) * 1ms;
    client.socket.connect(port_);
  }

  /// Waits until some sockets have something to do, and does it.
  void turn() {
    std::vector<pollfd> polled;
    for (const Client& client : clients_) {
      polled.push_back({client.socket.descriptor(),
                        static_cast<short>(client.socket.wantsToWrite() ? POLLIN | POLLOUT : POLLIN), 0});
    }
    ::poll(polled.data(), polled.size(), 5);
    for (std::size_t i = 0; i < clients_.size(); ++i) {
      Client& client = clients_[i];
      if (polled[i].revents != 0 && !serve(client)) lose(client);
      if (client.inRoom && client.open.empty()) act(client);
      if (client.role == Role::Breaks && client.signedIn && !over() && Clock::now() >= client.breaksAt) {
        breakOff(client);
      }
    }
  }

  bool serve(Client& client) {
    const bool lives = client.socket.work();
    while (auto message = client.socket.next()) received(client, *message);
    if (client.socket.isOpen() && !client.greeted) greet(client);
    return lives;
  }

  void lose(Client& client) {
    if (client.role != Role::Breaks) ++figures.problems["lost a connection that stays"];
    ++figures.reconnects;
    connect(client);
  }

  void breakOff(Client& client) {
    client.socket.breakOff(static_cast<LoadClient::Break>(dice(LoadClient::kBreaks)));
    client.breaksAt = Clock::time_point::max();  // for the server to end it
    client.open.clear();
    if (client.socket.descriptor() >= 0) return;
    ++figures.reconnects;
    connect(client);
  }

  void greet(Client& client) {
    client.greeted = true;
    const json::object values{
        {"phone", client.phone}, {"pwd", kDigest}, {"pass", kDigest}, {"scode", "123456"}, {"nick", "同学"}};
    ask(client, client.registered ? "User.Post.Login" : "User.Post.Register", values, 0);
  }

  void ask(Client& client, const char* command, const json::object& values, std::int64_t room) {
    const std::int64_t stamp = ++lastStamp_;
    client.open.emplace(stamp, Asked{command, room, Clock::now()});
    const json::object frame{
        {"c", command}, {"r", "1"}, {"g", "load"}, {"s", std::to_string(stamp)}, {"v", values}};
    client.socket.send(opcode::kText, json::serialize(frame));
  }

  /// The next thing that a client does: in general one request, sometimes several at once, or nonsense in between.
  void act(Client& client) {
    if (over() || !client.socket.isOpen() || client.role == Role::Listens) return;
    if (listening_ < rooms_.size()) return;
    const int whim = dice(100);
    if (whim == 0) {
      ++figures.garbageFrames;
      const bool binary = dice(2) == 0;
      client.socket.send(binary ? opcode::kBinary : opcode::kText,
                         binary ? std::string("\x00\xff\x80 nothing", 11) : "{\"c\":[[[\"课堂");
    }
    if (whim == 1) client.socket.send(opcode::kText, "PING");
    for (int requests = whim < 90 ? 1 : 3; requests > 0; --requests) {
      const Habit& habit = choose();
      const std::int64_t room = dice(5) == 0
                                    ? rooms_[static_cast<std::size_t>(dice(static_cast<int>(rooms_.size())))]
                                    : client.room;
      ask(client, habit.command, habit.values(room), room);
    }
  }

  const Habit& choose() {
    int left = dice(1'000);
    for (const Habit& habit : kHabits) {
      if ((left -= habit.share) < 0) return habit;
    }
    return kHabits[0];
  }

  void received(Client& client, const LoadClient::Message& message) {
    if (message.opcode == opcode::kClose) return;
    const std::string_view text = message.payload;
    if (text == "PONG") {
      client.ponged = true;
    } else if (text.starts_with(R"({"C":"Rooms.Push.Message")")) {
      ++figures.pushes;
      if (client.role == Role::Listens) listen(client, text);
    } else if (!text.starts_with(R"({"C":"User.OtherDevice)")) {
      answered(client, text);
    }
  }

  void listen(const Client& client, std::string_view text) {
    const auto frame = json::parse({text.data(), text.size()});
    const auto& event = frame.at("v").at("data").at(0).at("data").as_object();
    const auto code = event.at("code").as_int64();
    if (event.at("roomID") != client.room) ++figures.problems["push of another room"];
    if (code == 3) figures.seen[client.room].push_back(event.at("id").as_int64());
    if (code == 2 && event.at("lost").as_bool()) ++figures.lossesSeen;
  }

  void answered(Client& client, std::string_view text) {
    const auto found = client.open.find(numberAfter(text, R"("s":")"));
    if (found == client.open.end()) {
      if (client.role != Role::Breaks) ++figures.problems["answer that nobody asked for"];
      return;
    }
    const Asked asked = found->second;
    client.open.erase(found);
    const auto took = (Clock::now() - asked.when) / LoadFigures::kBucket;
    ++figures.times[std::min(static_cast<std::size_t>(took), LoadFigures::kBuckets - 1)];
    ++figures.answered;
    const std::string_view command = asked.command;
    if (const std::int64_t code = numberAfter(text, R"("ret":)"); code != 0) {
      ++figures.problems[std::string(command) + " " + std::to_string(code)];
    } else if (command == "Course.Post.wall") {
      figures.posted[asked.room].push_back(numberAfter(text, R"("data":{"id":)"));
    } else if (command == "User.Post.Login" || command == "User.Post.Register") {
      client.signedIn = client.registered = true;
      ask(client, "Live.Room.Post.Enter", ofRoom(client.room), client.room);
    } else if (command == "Live.Room.Post.Enter" && !client.inRoom) {
      client.inRoom = true;
      if (client.role == Role::Listens) ++listening_;
    }
  }

  const std::uint16_t port_;
  const std::vector<std::int64_t>& rooms_;
  std::atomic<std::size_t>& listening_;  ///< rooms that have their listener; nobody speaks before all have
  std::mt19937 random_;
  std::vector<Client> clients_;
  Clock::time_point end_{};
  std::int64_t lastStamp_ = 1'000;
};

}  // namespace

LoadFigures LoadCrowd::run(std::chrono::milliseconds length) {
  const auto end = Clock::now() + length;
  std::atomic<std::size_t> listening{0};
  std::vector<Group> groups;
  for (int i = 0; i < kThreads; ++i) groups.emplace_back(port_, rooms_, listening, i, seed_, registered_);
  std::barrier everybodyIsAnswered(kThreads);
  std::vector<std::thread> threads;
  for (Group& group : groups) {
    threads.emplace_back([&] {
      group.work(end);
      everybodyIsAnswered.arrive_and_wait();
      group.finish();
    });
  }
  for (std::thread& thread : threads) thread.join();
  registered_ = true;
  LoadFigures all;
  for (const Group& group : groups) all.add(group.figures);
  return all;
}

}  // namespace orv::test
