#include "cli/Grammar.h"
#include "cli/HelpText.h"

#include "Manual.h"

#include <span>
#include <string_view>

namespace orv::manuals {

namespace {

std::vector<Option> optionsOf(std::span<const cli::OptionSpec> specs) {
  std::vector<Option> options;
  for (const cli::OptionSpec& spec : specs) {
    Option option{std::string(spec.name), spec.letter};
    if (!spec.value.empty()) option.values = {std::string(spec.value)};
    option.help = spec.help;
    option.byDefault = spec.byDefault;
    option.repeats = spec.repeats;
    options.push_back(std::move(option));
  }
  return options;
}

Command commandOf(const cli::CommandSpec& spec) {
  Command command{std::string(spec.name), std::string(spec.help)};
  for (const cli::ArgumentSpec& argument : spec.arguments) {
    command.arguments.push_back(
        {std::string(argument.name), std::string(argument.help), argument.required, argument.many});
  }
  command.options = optionsOf(spec.options);
  command.isGroup = spec.isGroup;
  return command;
}

}  // namespace

Manual manualOfOrv() {
  Manual manual{"orv", ORV_VERSION, "command line of OrvNetwork"};
  manual.description =
      "The same library that programs use, on a command line, for people and scripts. " +
      std::string(cli::remarksOfHelp());
  manual.options = optionsOf(cli::programOptions());
  for (const cli::CommandSpec& spec : cli::commandTable()) manual.commands.push_back(commandOf(spec));
  manual.sections = {{"EXIT STATUS", std::string(cli::exitCodesOfHelp())},
                     {"ENVIRONMENT",
                      "ORV_SERVER: address of the server, where --server is not given. HTTPS_PROXY, HTTP_PROXY, "
                      "ALL_PROXY, NO_PROXY: the way to the server with `--proxy environment`. HOME, "
                      "XDG_CONFIG_HOME, XDG_DATA_HOME, XDG_CACHE_HOME: where files lie. TZ, LANG, LC_ALL: zone and "
                      "form of dates."},
                     {"FILES", "~/.config/orv/config: options that are said once for all, as `wait = 20`."},
                     {"SEE ALSO", "orv-devserver(1), and docs/orv.md in the package orvnetwork-doc."}};
  return manual;
}

}  // namespace orv::manuals
