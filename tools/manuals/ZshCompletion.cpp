#include "Manual.h"
#include "Words.h"

namespace orv::manuals {

namespace {

/// Between single quotes.
std::string quoted(const std::string& text) {
  return "'" + replaced(text, "'", "'\\''") + "'";
}

/// As a part of a description of an argument.
std::string escaped(std::string text) {
  for (const char* const special : {"\\", ":", "[", "]"}) text = replaced(text, special, std::string("\\") + special);
  return text;
}

std::string valueText(const std::string& value) {
  const std::string name = ":" + escaped(replaced(value, "|", " "));
  switch (kindOf(value)) {
    case ValueKind::File:
      return name + ":_files";
    case ValueKind::Folder:
      return name + ":_files -/";
    case ValueKind::Choices:
      return name + ":(" + joined(choicesOf(value), " ") + ")";
    case ValueKind::Unknown:
      break;
  }
  return name + ": ";
}

std::string optionText(const Option& option) {
  std::string values;
  for (const std::string& value : option.values) values += valueText(value);
  const std::string help = "[" + escaped(option.help) + "]" + values;
  const std::string name = option.name + (option.values.size() == 1 ? "=" : "");
  if (option.letter == 0) return quoted((option.repeats ? "*" : "") + name + help);
  return quoted("(-" + std::string(1, option.letter) + " " + option.name + ")") + "{-" + option.letter + "," +
         name + "}" + quoted(help);
}

std::string optionTexts(const std::vector<Option>& options, const std::string& margin) {
  std::string text;
  for (const Option& option : options) text += " \\\n" + margin + optionText(option);
  return text;
}

/// Completes what stands behind the words of a group, or of the program.
std::string level(const Manual& manual, const std::string& group, const std::string& margin) {
  std::string text = margin + "commands=(\n";
  for (const Command& command : commandsBelow(manual, group)) {
    text += margin + "  " + quoted(lastWord(command) + ":" + command.help) + "\n";
  }
  text += margin + ")\n" + margin + "_arguments -C $common '1:command:->command' '*:: :->rest' && return\n" +
          margin + "case $state in\n" + margin + "  command) _describe command commands ;;\n" + margin +
          "  rest)\n" + margin + "    case $words[1] in\n";
  const std::string deeper = margin + "        ";
  for (const Command& command : commandsBelow(manual, group)) {
    text += margin + "      " + lastWord(command) + ")\n";
    text += command.isGroup ? level(manual, command.name, deeper)
                            : deeper + "_arguments $common" + optionTexts(command.options, deeper + "  ") + "\n";
    text += deeper + ";;\n";
  }
  return text + margin + "    esac\n" + margin + "    ;;\n" + margin + "esac\n";
}

}  // namespace

std::string zshCompletion(const Manual& manual) {
  const std::string function = functionName(manual);
  std::string text = "#compdef " + manual.name +
                     "\n# Completion of " + manual.name + " in zsh, made from its own tables of options and commands.\n" +
                     function + "() {\n  local curcontext=$curcontext state line\n  local -A opt_args\n";
  if (manual.commands.empty()) {
    text += "  _arguments" + optionTexts(manual.options, "    ") + "\n";
  } else {
    text += "  local -a common commands\n  common=(";
    for (const Option& option : manual.options) text += "\n    " + optionText(option);
    text += "\n  )\n" + level(manual, "", "  ");
  }
  return text + "}\n" + function + " \"$@\"\n";
}

}  // namespace orv::manuals
