#include "cli/shell/Completion.h"

#include <orvnetwork/api/OperationRegistry.h>

#include "cli/Grammar.h"
#include "cli/TerminalText.h"
#include "cli/shell/Words.h"

#include <algorithm>
#include <map>
#include <set>

namespace orv::cli {

namespace {

using Texts = std::vector<std::string>;

/// The options of a command, or the commands of a group.
Texts takenBy(std::string_view name) {
  Texts texts;
  const CommandSpec* const command = findCommand(name);
  if (command == nullptr) return texts;
  for (const OptionSpec& option : command->options) texts.emplace_back(option.name);
  const std::string group = std::string(name) + " ";
  for (const CommandSpec& other : commandTable()) {
    if (!command->isGroup || !other.name.starts_with(group)) continue;
    texts.emplace_back(other.name.substr(group.size()));
  }
  return texts;
}

const Texts& operationNames() {
  static const Texts kNames = [] {
    Texts names;
    for (const Operation& operation : OperationRegistry::standard().operations()) {
      names.push_back(operation.name);
    }
    std::ranges::sort(names);
    return names;
  }();
  return kNames;
}

const Texts& commandNames() {
  static const Texts kNames = [] {
    std::set<std::string> names;
    for (const Operation& operation : OperationRegistry::standard().operations()) {
      if (!operation.command.empty()) names.emplace(operation.command);
    }
    return Texts(names.begin(), names.end());
  }();
  return kNames;
}

void offer(Completion& completion, std::string_view typed, const Texts& candidates) {
  for (const std::string& candidate : candidates) {
    if (candidate.starts_with(typed)) completion.words.push_back(candidate);
  }
}

std::string describe(const Operation& operation, std::size_t next) {
  std::string text;
  for (std::size_t i = 0; i < operation.parameters.size(); ++i) {
    const OperationParameter& parameter = operation.parameters[i];
    std::string shown = std::string(parameter.name) + ": " + std::string(nameOf(parameter.kind)) +
                        (parameter.required ? "" : " or null");
    if (i == next) shown.insert(0, "▸ ");
    text += (text.empty() ? "" : ", ") + shown;
  }
  return text.empty() ? "no arguments" : text;
}

bool isRoom(std::string_view parameter) {
  return parameter == "roomID" || parameter == "courseID";
}

/// What may stand in a place of an operation.
void offerArgument(Completion& completion, std::string_view typed, const Operation& operation,
                   std::size_t index, const KnownCourses& courses) {
  completion.hint = describe(operation, index);
  if (index >= operation.parameters.size()) {
    if (!operation.parameters.empty()) completion.hint = "nothing more: " + completion.hint;
    return;
  }
  const OperationParameter& parameter = operation.parameters[index];
  if (typed.empty() && !isRoom(parameter.name) && parameter.kind != ArgumentKind::Flag) return;
  if (parameter.kind == ArgumentKind::Flag) offer(completion, typed, {"true", "false"});
  if (!parameter.required) offer(completion, typed, {"null"});
  if (!isRoom(parameter.name)) return;
  const bool quoted = parameter.kind == ArgumentKind::Text;
  for (const std::string& room : courses.cloud) {
    const std::string shown = quoted ? '"' + room + '"' : room;
    // What a server calls a room may be anything.
    if (shown.starts_with(typed) && printable(shown) == shown) completion.words.push_back(shown);
  }
}

/// What belongs behind a command.
void offerBehind(Completion& completion, const std::vector<Word>& words, std::string_view typed,
                 const KnownCourses& courses) {
  const std::string& first = words.front().text;
  const std::size_t place = words.size();
  const std::size_t named = first == "invoke" ? 1 : 0;
  if (named == 1 && place == 1) return offer(completion, typed, operationNames());
  if (const Operation* const operation = OperationRegistry::standard().find(words[named].text)) {
    return offerArgument(completion, typed, *operation, place - named - 1, courses);
  }
  if (first == "call") {
    if (place == 1) return offer(completion, typed, commandNames());
    completion.hint = "one JSON dictionary, or nothing";
  } else if (first == "server") {
    if (place == 1) offer(completion, typed, serverExamples());
    completion.hint = "one JSON dictionary of the server's control";
  } else if (first == "help") {
    if (place == 1) offer(completion, typed, shellCommands());
  } else if (first == "local" && place > 1 && words[1].text == "delete") {
    offer(completion, typed, courses.local);
    completion.hint = "numbers of local courses";
  } else if (first == "watch" || first == "console") {
    if (place == 1) offer(completion, typed, {"on", "off"});
  } else if (first == "local" && place > 1 && words[1].text == "add") {
    completion.hint = "one JSON dictionary with \"roomID\"";
  } else if (first == "created") {
    if (place == 1) offer(completion, typed, courses.local);
    completion.hint = "the number of the local course";
  } else if (first == "login" && place == 1 && !typed.starts_with('-')) {
    completion.hint = "the mobile number; the password is asked for";
  } else if (first == "local") {
    offer(completion, typed, takenBy(place == 1 ? first : first + " " + words[1].text));
  } else {
    offer(completion, typed, takenBy(first));
  }
}

}  // namespace

const Texts& shellCommands() {
  static const Texts kCommands = {"call",   "console", "courses", "created", "exit",   "help",
                                  "invoke", "local",   "log",     "login",   "logout", "operations",
                                  "server", "stats",   "watch",   "whoami"};
  return kCommands;
}

const Texts& serverExamples() {
  static const Texts kExamples = {R"({"push":"Rooms.Push.Message"})",
                                  R"({"push":"User.OtherDevice.Logout"})",
                                  R"({"push":"System.Upload.Log"})",
                                  R"({"fault":"drop","count":1})",
                                  R"({"fault":"delay","ms":500})",
                                  R"({"cut":"close"})",
                                  R"({"cut":"reset"})",
                                  R"({"expire":"all"})",
                                  R"({"revoke":"all"})",
                                  R"({"course":"add","count":1})",
                                  R"({"clear":true})"};
  return kExamples;
}

Completion complete(std::string_view text, const KnownCourses& courses) {
  std::vector<Word> words = splitWords(text);
  Completion completion;
  std::string typed;
  const bool inWord = !words.empty() && (words.back().open || text.find_last_of(" \t") != text.size() - 1);
  completion.from = inWord ? words.back().at : text.size();
  if (inWord) {
    typed = text.substr(completion.from);
    words.pop_back();
  }
  if (!words.empty()) {
    offerBehind(completion, words, typed, courses);
    return completion;
  }
  offer(completion, typed, shellCommands());
  // All of them at once would hide the commands.
  if (!typed.empty()) offer(completion, typed, operationNames());
  return completion;
}

}  // namespace orv::cli
