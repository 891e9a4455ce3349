#pragma once

#include "devserver/DevServer.h"
#include <CLI/App.hpp>

#include <string>
#include <vector>

namespace orv::devserver {

/// What the words of the program's command line said.
struct ProgramArguments {
  DevServer::Options options;
  /// Certificate and key.
  std::vector<std::string> tls;
  std::string tokenFile;
  bool isPlain = false;
};

/// Gives a command line, whose name and texts are not set, the program's options; they are read into `arguments`, which has
/// to last as long. The help, the manual and the completions of shells are made of it.
void describe(CLI::App& app, ProgramArguments& arguments);

/// Puts the options together. Throws std::runtime_error with what is wrong with them.
DevServer::Options checked(ProgramArguments arguments);

}  // namespace orv::devserver
