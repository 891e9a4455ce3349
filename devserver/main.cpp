#include "devserver/Access.h"
#include "devserver/DevServer.h"
#include "devserver/net/LoopbackAddress.h"
#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdint>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

/// Blocks the signals that end the program in this thread and those that it starts.
sigset_t blockEndingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

int serve(orv::DevServer::Options options) {
  const sigset_t signals = blockEndingSignals();
  const std::string host = options.host;
  const bool hasToken = !options.token.empty();
  orv::DevServer server(std::move(options));
  server.start();
  std::cout << "listening " << server.url() << std::endl;
  const bool isOpen = !orv::devserver::isLoopback(host);
  std::cerr << "orv-devserver: " << server.pageUrl() << " shows what passes"
            << (!isOpen    ? ""
                : hasToken ? ", on other machines with ?token=… behind it"
                           : ", on this machine only, as there is no token")
            << std::endl;
  int signal = 0;
  sigwait(&signals, &signal);
  server.stop();
  std::cerr << "orv-devserver: stopped" << std::endl;
  return 0;
}

struct Arguments {
  orv::DevServer::Options options;
  std::vector<std::string> tls;
  std::string tokenFile;
  bool isPlain = false;
};

void describe(CLI::App& app, Arguments& arguments) {
  orv::DevServer::Options& options = arguments.options;
  app.add_option("--port", options.port, "Port to listen on; 0: a free one")->check(CLI::Range(0, 65535));
  app.add_option("--data", options.dataFile, "SQLite file that keeps the school");
  app.add_option("--tls", arguments.tls, "Serve TLS with this certificate chain and key (PEM)")
      ->expected(2)
      ->type_name("CERT KEY");
  app.add_option("--listen", options.host,
                 "Numeric address to listen on; others than this machine's own need --tls")
      ->type_name("ADDRESS");
  app.add_flag("--plain-text", arguments.isPlain, "Without TLS for other machines, too");
  app.add_option("--name", options.names, "A name by which other machines reach the server")
      ->type_name("NAME");
  app.add_option("--token", options.token,
                 "Opens the page and /control to other machines; every user sees it here");
  app.add_option("--token-file", arguments.tokenFile, "The same from the first line of a file of mode 0600");
}

/// Puts the options together. Throws std::runtime_error with what is wrong with them.
orv::DevServer::Options checked(Arguments arguments) {
  orv::DevServer::Options options = std::move(arguments.options);
  if (!arguments.tls.empty()) {
    options.tlsCertificateFile = arguments.tls[0];
    options.tlsKeyFile = arguments.tls[1];
  }
  if (!orv::devserver::isLoopback(options.host) && arguments.tls.empty() && !arguments.isPlain) {
    throw std::runtime_error(
        "--listen " + options.host +
        " lets other machines in: --tls CERT KEY is needed, or --plain-text, by which everybody "
        "on the way can read passwords and tokens");
  }
  if (!options.token.empty() && !arguments.tokenFile.empty()) {
    throw std::runtime_error("either --token or --token-file is expected");
  }
  if (!arguments.tokenFile.empty()) options.token = orv::devserver::readTokenFile(arguments.tokenFile);
  if (options.token.empty()) return options;
  if (const std::string problem = orv::devserver::problemWithToken(options.token); !problem.empty()) {
    throw std::runtime_error("--token: " + problem);
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "The embedded classroom server. It listens on 127.0.0.1, or as --listen says. The page at "
      "http://127.0.0.1:PORT/ shows what passes; GET and POST /control steer it.");
  app.name("orv-devserver");
  app.set_version_flag("--version", std::string("orv-devserver " ORV_VERSION));
  Arguments arguments;
  describe(app, arguments);
  try {
    app.parse(argc, argv);
    return serve(checked(std::move(arguments)));
  } catch (const CLI::ParseError& error) {
    return app.exit(error, std::cout, std::cerr) == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "orv-devserver: " << error.what() << std::endl;
    return 1;
  }
}
