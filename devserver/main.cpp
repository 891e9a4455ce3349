#include "devserver/DevServer.h"
#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdint>
#include <exception>
#include <iostream>
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
  orv::DevServer server(std::move(options));
  server.start();
  std::cout << "listening " << server.url() << std::endl;
  std::cerr << "orv-devserver: " << server.pageUrl() << " shows what passes" << std::endl;
  int signal = 0;
  sigwait(&signals, &signal);
  server.stop();
  std::cerr << "orv-devserver: stopped" << std::endl;
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "The embedded classroom server. It listens on 127.0.0.1. The page at http://127.0.0.1:PORT/ shows what "
      "passes; GET and POST /control steer it.");
  app.name("orv-devserver");
  app.set_version_flag("--version", std::string("orv-devserver " ORV_VERSION));
  orv::DevServer::Options options;
  std::vector<std::string> tls;
  app.add_option("--port", options.port, "Port to listen on; 0: a free one")->check(CLI::Range(0, 65535));
  app.add_option("--data", options.dataFile, "SQLite file that keeps the school");
  app.add_option("--tls", tls, "Serve TLS with this certificate chain and key (PEM)")
      ->expected(2)
      ->type_name("CERT KEY");
  try {
    app.parse(argc, argv);
    if (!tls.empty()) {
      options.tlsCertificateFile = tls[0];
      options.tlsKeyFile = tls[1];
    }
    return serve(std::move(options));
  } catch (const CLI::ParseError& error) {
    return app.exit(error, std::cout, std::cerr) == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::cerr << "orv-devserver: " << error.what() << std::endl;
    return 1;
  }
}
