#include "devserver/ProgramArguments.h"
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <CLI/Option.hpp>

#include "Manual.h"

#include <sstream>

namespace orv::manuals {

namespace {

Option optionOf(const CLI::Option& found) {
  Option option{"--" + found.get_lnames().at(0)};
  if (!found.get_snames().empty()) option.letter = found.get_snames()[0].at(0);
  if (found.get_items_expected_max() > 0) {
    std::istringstream words(found.get_type_name());
    for (std::string word; words >> word;) option.values.push_back(word);
  }
  option.help = found.get_description();
  option.repeats = found.get_items_expected_max() > static_cast<int>(option.values.size());
  return option;
}

}  // namespace

Manual manualOfDevserver() {
  CLI::App app;
  devserver::ProgramArguments arguments;
  devserver::describe(app, arguments);
  Manual manual{app.get_name(), ORV_VERSION, "classroom server to try OrvNetwork with"};
  manual.description = app.get_description() +
                       " Standard output has one line when it is ready: `listening ws://127.0.0.1:PORT`. SIGINT, "
                       "SIGTERM and SIGHUP stop it.";
  for (const CLI::Option* option : app.get_options()) manual.options.push_back(optionOf(*option));
  manual.sections = {{"EXIT STATUS",
                      "0 when it was stopped, 1 after wrong use, or where a port, a certificate or the data file "
                      "cannot be used."},
                     {"SEE ALSO", "orv(1), and docs/devserver.md in the package orvnetwork-doc."}};
  return manual;
}

}  // namespace orv::manuals
