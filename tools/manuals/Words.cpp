#include "Words.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace orv::manuals {

namespace {

/// The names of all options, with the values that each takes.
std::map<std::string, std::vector<std::string>> valuesByName(const Manual& manual) {
  std::map<std::string, std::vector<std::string>> found;
  const auto take = [&](const std::vector<Option>& options) {
    for (const Option& option : options) {
      for (const std::string& name : namesOf(option)) {
        const auto [at, isNew] = found.emplace(name, option.values);
        if (!isNew && at->second.size() != option.values.size()) {
          throw std::logic_error(name + " takes a value in one place and none in another");
        }
      }
    }
  };
  take(manual.options);
  for (const Command& command : manual.commands) take(command.options);
  return found;
}

}  // namespace

ValueKind kindOf(const std::string& value) {
  if (value.find('|') != std::string::npos) return ValueKind::Choices;
  if (value == "FILE" || value == "CERT" || value == "KEYFILE") return ValueKind::File;
  return value == "DIR" ? ValueKind::Folder : ValueKind::Unknown;
}

std::vector<std::string> choicesOf(const std::string& value) {
  std::vector<std::string> choices;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
    end = value.find('|', begin);
    choices.push_back(value.substr(begin, end == std::string::npos ? end : end - begin));
  }
  return choices;
}

std::vector<std::string> namesWithValues(const Manual& manual, std::size_t count) {
  std::vector<std::string> names;
  for (const auto& [name, values] : valuesByName(manual)) {
    if (values.size() == count) names.push_back(name);
  }
  return names;
}

std::size_t mostValues(const Manual& manual) {
  std::size_t most = 0;
  for (const auto& [name, values] : valuesByName(manual)) most = std::max(most, values.size());
  return most;
}

std::vector<std::string> namesOf(const Option& option) {
  std::vector<std::string> names{option.name};
  if (option.letter != 0) names.push_back(std::string("-") + option.letter);
  return names;
}

std::vector<std::string> namesOf(const std::vector<Option>& options) {
  std::vector<std::string> names;
  for (const Option& option : options) {
    for (std::string& name : namesOf(option)) names.push_back(std::move(name));
  }
  return names;
}

std::vector<Command> commandsBelow(const Manual& manual, const std::string& group) {
  const std::string beginning = group.empty() ? "" : group + " ";
  std::vector<Command> found;
  for (const Command& command : manual.commands) {
    if (!command.name.starts_with(beginning)) continue;
    if (command.name.find(' ', beginning.size()) == std::string::npos) found.push_back(command);
  }
  return found;
}

std::string lastWord(const Command& command) {
  const std::size_t blank = command.name.rfind(' ');
  return blank == std::string::npos ? command.name : command.name.substr(blank + 1);
}

std::string joined(const std::vector<std::string>& words, std::string_view between) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += between;
    text += word;
  }
  return text;
}

std::string replaced(std::string text, std::string_view what, std::string_view by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
    text.replace(at, what.size(), by);
  }
  return text;
}

std::string functionName(const Manual& manual) {
  return "_" + replaced(manual.name, "-", "_");
}

}  // namespace orv::manuals
