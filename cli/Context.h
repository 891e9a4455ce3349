#pragma once

#include "cli/CommandLine.h"
#include "cli/Host.h"
#include "cli/Output.h"
#include "cli/SecretInput.h"

#include <functional>
#include <memory>
#include <string>

namespace orv::cli {

/// What a command works with: the options, the output, and the host, which one command has to itself and the commands
/// of a shell share. Main thread.
class Context {
 public:
  Context(Options usedOptions, Output& usedOutput)
      : options(std::move(usedOptions)), output(usedOutput), secretSource_(readSecret) {}
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  const Options options;
  Output& output;

  /// The host, made when it is asked for the first time. That must come before anything that starts threads: its signals
  /// are held back in all of them.
  Host& host();

  /// Whether a user who is stored now can be known to the server in use: to one that was named, and to an embedded one
  /// that lives on between commands. A fresh embedded server knows nobody's token.
  bool hasLastingServer() const { return options.server.has_value() || keepsHost_; }
  /// The host goes on to the next command.
  void keepHost() { keepsHost_ = true; }

  /// Asks for a secret. From standard input, unless something else was set.
  Result<std::string> askSecret(const std::string& prompt) { return secretSource_(host(), prompt); }
  using SecretSource = std::function<Result<std::string>(Host& host, const std::string& prompt)>;
  void setSecretSource(SecretSource source) { secretSource_ = std::move(source); }

 private:
  SecretSource secretSource_;
  bool keepsHost_ = false;
  std::unique_ptr<Host> host_;
};

}  // namespace orv::cli
