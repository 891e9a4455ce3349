#include "Manual.h"
#include "Words.h"

namespace orv::manuals {

namespace {

std::string quoted(const std::string& text) {
  return "'" + replaced(replaced(text, "\\", "\\\\"), "'", "\\'") + "'";
}

/// A function that prints the command of the line so far.
std::string commandFunction(const Manual& manual, const std::string& function) {
  std::string text = "function " + function +
                     "\n    set -l command ''\n    set -l left 0\n"
                     "    for word in (commandline --tokenize --cut-at-cursor --current-process)[2..]\n"
                     "        if test $left -gt 0\n"
                     "            set left (math $left - 1)\n"
                     "            continue\n"
                     "        end\n"
                     "        switch $word\n";
  for (std::size_t count = 1; count <= mostValues(manual); ++count) {
    const auto names = namesWithValues(manual, count);
    if (names.empty()) continue;
    text += "            case " + joined(names, " ") + "\n                set left " + std::to_string(count) + "\n";
  }
  std::vector<std::string> names;
  for (const Command& command : manual.commands) names.push_back(quoted(command.name));
  return text + "            case '-*'\n            case '*'\n"
                "                set -l longer (string trim -- \"$command $word\")\n"
                "                switch $longer\n"
                "                    case " + joined(names, " ") + "\n"
                "                        set command $longer\n"
                "                end\n        end\n    end\n    echo $command\nend\n";
}

std::string optionText(const Manual& manual, const Option& option, const std::string& condition) {
  std::string text = "complete -c " + manual.name + condition + " -l " + option.name.substr(2);
  if (option.letter != 0) text += std::string(" -s ") + option.letter;
  if (!option.values.empty()) {
    const std::string& value = option.values.front();
    switch (kindOf(value)) {
      case ValueKind::File:
        text += " -r -F";
        break;
      case ValueKind::Folder:
        text += " -x -a '(__fish_complete_directories)'";
        break;
      case ValueKind::Choices:
        text += " -x -a " + quoted(joined(choicesOf(value), " "));
        break;
      case ValueKind::Unknown:
        text += " -x";
        break;
    }
  }
  return text + " -d " + quoted(option.help) + "\n";
}

}  // namespace

std::string fishCompletion(const Manual& manual) {
  const std::string function = "_" + functionName(manual) + "_command";
  std::string text =
      "# Completion of " + manual.name + " in fish, made from its own tables of options and commands.\n";
  if (!manual.commands.empty()) text += commandFunction(manual, function);
  text += "complete -c " + manual.name + " -f\n";
  for (const Option& option : manual.options) text += optionText(manual, option, "");
  for (const Command& command : manual.commands) {
    const std::size_t blank = command.name.rfind(' ');
    const std::string group = blank == std::string::npos ? "" : command.name.substr(0, blank);
    const auto isAt = [&](const std::string& place) {
      return " -n " + quoted("test \"$(" + function + ")\" = \"" + place + "\"");
    };
    text += "complete -c " + manual.name + isAt(group) + " -a " + lastWord(command) + " -d " + quoted(command.help) + "\n";
    for (const Option& option : command.options) text += optionText(manual, option, isAt(command.name));
  }
  return text;
}

}  // namespace orv::manuals
