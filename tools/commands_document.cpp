// Writes docs/commands.md: every operation of the catalogue, its command, its arguments and its values.
//
// Operations and arguments come from the registry. The values are what the operations really send: each is called on
// a simulated link with many sets of arguments, and its frames are looked at. So nothing in the table can be stale.

#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/testing/SimulatedPlatform.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>

#include <boost/json/serialize.hpp>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

namespace orv {
namespace {

/// Stands for the members of a dictionary that the caller builds.
constexpr const char* kCallersMember = "…";

/// What the values of one set of calls are made of.
struct Sample {
  int text = 0;             // which of two texts and moments
  std::int64_t number = 0;  // for every number; small ones are codes that operations know
  bool flag = false;
};

std::vector<Sample> samples() {
  std::vector<Sample> all;
  for (const int text : {0, 1}) {
    for (const std::int64_t number : {-1, 0, 1, 2, 3, 4}) {
      for (const bool flag : {false, true}) all.push_back({text, number, flag});
    }
  }
  return all;
}

Object argument(ArgumentKind kind, const Sample& sample) {
  const std::string text = sample.text == 0 ? "one" : "other";
  switch (kind) {
    case ArgumentKind::Text:
      return text;
    case ArgumentKind::Any:
      return sample.text == 0 ? Object(text) : Object(7);
    case ArgumentKind::Dictionary:
      return json::object{{kCallersMember, text}};
    case ArgumentKind::Array:
      return json::array{text};
    case ArgumentKind::Integer:
    case ArgumentKind::UnsignedInteger:
      return sample.number;
    case ArgumentKind::Real:
      return static_cast<double>(sample.number) + 0.5;
    case ArgumentKind::Flag:
      return sample.flag;
    case ArgumentKind::Date:
      return 1'700'000'000 + sample.text * 100'000;
  }
  return {};
}

/// What is known of one member of the values.
struct Member {
  std::string key;
  std::set<std::string> kinds = {};
  std::set<std::string> values = {};
  int seen = 0;
};

std::string kindOf(const json::value& value) {
  if (value.is_string()) return "text";
  if (value.is_bool()) return "true or false";
  if (value.is_array()) return "array";
  if (value.is_object()) return "dictionary";
  return "number";
}

/// Everything that the frames of one operation showed.
struct Seen {
  std::vector<Member> members;
  std::set<std::string> commands;
  int frames = 0;
  int withValues = 0;
};

class Catalogue {
 public:
  Catalogue() {
    Console::setSink([](std::string_view) {});
    auto& link = QXWebSocketMgr::standard();
    link.setApiServerUrl("ws://classroom.test/");
    link.watchNetworkStatus();
    platform_.settle();
  }

  Seen observe(const Operation& operation) {
    Seen seen;
    for (const Sample& sample : samples()) {
      std::vector<Object> arguments;
      for (const auto& parameter : operation.parameters)
        arguments.push_back(argument(parameter.kind, sample));
      call(operation, arguments, sample, seen);
      // Then without each that may be absent, and without all of them.
      auto bare = arguments;
      for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (operation.parameters[i].required) continue;
        bare[i] = Object();
        auto without = arguments;
        without[i] = Object();
        call(operation, without, sample, seen);
      }
      call(operation, bare, sample, seen);
    }
    return seen;
  }

 private:
  void call(const Operation& operation, const std::vector<Object>& arguments, const Sample& sample,
            Seen& seen) {
    const std::string mark = sample.text == 0 ? "one" : "other";
    auto& link = QXWebSocketMgr::standard();
    link.setGlobalUUID(mark);
    link.setAppVersion(mark);
    platform_.setWallTime(WallTime(std::chrono::seconds(1'600'000'000 + sample.text * 100'000)));
    platform_.server().clearRecords();
    const std::string problem = operation.invoke(arguments, nullptr, nullptr);
    if (!problem.empty()) throw std::logic_error(problem);
    platform_.settle();
    for (const auto& frame : platform_.server().requests()) look(frame, seen);
  }

  static void look(const json::object& frame, Seen& seen) {
    ++seen.frames;
    if (const auto* command = frame.if_contains("c"))
      seen.commands.insert(std::string(command->as_string().c_str()));
    const auto* values = frame.if_contains("v");
    if (values == nullptr) return;
    ++seen.withValues;
    auto place = seen.members.begin();
    for (const auto& [key, value] : values->as_object()) {
      auto found = std::ranges::find(seen.members, std::string_view(key), &Member::key);
      if (found == seen.members.end()) found = seen.members.insert(place, Member{.key = std::string(key)});
      found->kinds.insert(kindOf(value));
      found->values.insert(json::serialize(value));
      ++found->seen;
      place = found + 1;
    }
  }

  testing::SimulatedPlatform& platform_ = testing::SimulatedPlatform::install();
};

std::string join(const std::set<std::string>& texts, std::string_view between) {
  std::string all;
  for (const auto& text : texts) all += (all.empty() ? "" : std::string(between)) + text;
  return all;
}

std::string describeMember(const Member& member, const Seen& seen) {
  if (member.key == kCallersMember) return "what the caller built";
  const bool constant = member.values.size() == 1;
  const bool any = member.kinds.contains("text") && member.kinds.contains("number");
  std::string text = "`\"" + member.key + "\"`: " +
                     (constant ? "`" + *member.values.begin() + "`"
                      : any    ? "any value"
                               : join(member.kinds, " or "));
  if (member.seen < seen.withValues) text += " ?";
  return text;
}

std::string describeValues(const Seen& seen) {
  if (seen.withValues == 0) return "none";
  std::string text;
  for (const auto& member : seen.members) text += (text.empty() ? "" : ", ") + describeMember(member, seen);
  return text.empty() ? "empty" : text;
}

std::string describeArguments(const Operation& operation) {
  std::string text;
  for (const auto& parameter : operation.parameters) {
    text += (text.empty() ? "" : ", ") + std::string(parameter.name) + ": " +
            std::string(nameOf(parameter.kind)) + (parameter.required ? "" : " ?");
  }
  return text.empty() ? "none" : text;
}

std::string describeCommand(const Operation& operation, const Seen& seen) {
  if (operation.command.empty() && operation.parameters[0].name == "command") return "the caller's";
  return "`" + join(seen.commands, "` or `") + "`";
}

constexpr const char* kHead = R"(# Commands

Every operation of `QXAPIHelper` with the command that it sends, its arguments and the members of its values in their
order. Each operation takes the two callbacks as its last arguments. What all of it means is told beside the
declarations in `orvnetwork/api/`.

A "?" marks an argument that may be absent, and a member that some arguments leave out. A member that is always the
same stands with its value. "any value": it goes out as the kind that the argument is. Of values, "none" is a frame
without any, and "empty" an empty dictionary.

This file is written by the build target `commands_document`; do not edit it.

| Operation | Command | Arguments | Values |
|---|---|---|---|
)";

void write(std::ostream& out) {
  const auto& operations = OperationRegistry::standard().operations();
  out << kHead;
  Catalogue catalogue;
  for (const auto& operation : operations) {
    const Seen seen = catalogue.observe(operation);
    out << "| `" << operation.name << "` | " << describeCommand(operation, seen) << " | "
        << describeArguments(operation) << " | " << describeValues(seen) << " |\n";
  }
  out << "\n" << operations.size() << " operations.\n";
}

}  // namespace
}  // namespace orv

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: orv_commands_document FILE\n";
    return 1;
  }
  std::ofstream out(argv[1]);
  orv::write(out);
  out.close();
  return out ? 0 : 1;
}
