#include "Manual.h"
#include "Words.h"

namespace orv::manuals {

namespace {

std::string quoted(const std::string& text) {
  return "'" + text + "'";
}

/// Finds the command of the line, and the option whose value is being typed.
std::string walk(const Manual& manual) {
  std::string text = "  for ((i = 1; i < COMP_CWORD; ++i)); do\n"
                     "    word=${COMP_WORDS[i]}\n"
                     "    [[ $word == = ]] && continue\n"
                     "    if ((left > 0)); then\n"
                     "      ((--left))\n"
                     "      continue\n"
                     "    fi\n"
                     "    case $word in\n";
  for (std::size_t count = 1; count <= mostValues(manual); ++count) {
    const auto names = namesWithValues(manual, count);
    if (names.empty()) continue;
    text += "      " + joined(names, " | ") + ") want=$word left=" + std::to_string(count) + " ;;\n";
  }
  text += "      -*) ;;\n";
  if (!manual.commands.empty()) {
    std::vector<std::string> names;
    for (const Command& command : manual.commands) names.push_back(quoted(command.name));
    text += "      *)\n"
            "        word=${command:+$command }$word\n"
            "        case $word in\n"
            "          " + joined(names, " | ") + ") command=$word ;;\n"
            "        esac\n"
            "        ;;\n";
  }
  return text + "    esac\n  done\n  [[ $cur == = ]] && cur=\n";
}

/// How the values of an option are completed, or "".
std::string valueCase(const Option& option) {
  std::string names = joined(namesOf(option), " | ");
  for (const std::string& value : option.values) {
    switch (kindOf(value)) {
      case ValueKind::File:
        return "      " + names + ") compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- \"$cur\") ;;\n";
      case ValueKind::Folder:
        return "      " + names + ") compopt -o filenames; mapfile -t COMPREPLY < <(compgen -d -- \"$cur\") ;;\n";
      case ValueKind::Choices:
        return "      " + names + ") mapfile -t COMPREPLY < <(compgen -W " +
               quoted(joined(choicesOf(value), " ")) + " -- \"$cur\") ;;\n";
      case ValueKind::Unknown:
        break;
    }
  }
  return {};
}

std::string values(const Manual& manual) {
  std::string cases;
  for (const Option& option : manual.options) cases += valueCase(option);
  for (const Command& command : manual.commands) {
    for (const Option& option : command.options) cases += valueCase(option);
  }
  return "  if ((left > 0)); then\n    case $want in\n" + cases + "    esac\n    return\n  fi\n";
}

std::string commandNames(const Manual& manual, const std::string& group) {
  std::vector<std::string> names;
  for (const Command& command : commandsBelow(manual, group)) names.push_back(lastWord(command));
  return quoted(joined(names, " "));
}

std::string words(const Manual& manual) {
  std::string text = "  options=" + quoted(joined(namesOf(manual.options), " ")) + "\n";
  if (!manual.commands.empty()) {
    text += "  case $command in\n    '') words=" + commandNames(manual, "") + " ;;\n";
    for (const Command& command : manual.commands) {
      const std::string begin = "    " + quoted(command.name) + ") ";
      if (command.isGroup) text += begin + "words=" + commandNames(manual, command.name) + " ;;\n";
      if (command.options.empty()) continue;
      text += begin + "options+=" + quoted(" " + joined(namesOf(command.options), " ")) + " ;;\n";
    }
    text += "  esac\n";
  }
  return text + "  [[ $cur == -* ]] && words=$options\n"
                "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$cur\")\n";
}

}  // namespace

std::string bashCompletion(const Manual& manual) {
  return "# Completion of " + manual.name + " in bash, made from its own tables of options and commands.\n" +
         functionName(manual) + "() {\n" +
         "  local cur=${COMP_WORDS[COMP_CWORD]} command= want= word= words= options= i left=0\n"
         "  COMPREPLY=()\n" +
         walk(manual) + values(manual) + words(manual) + "}\ncomplete -F " + functionName(manual) + " " +
         manual.name + "\n";
}

}  // namespace orv::manuals
