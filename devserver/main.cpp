#include "devserver/Access.h"
#include "devserver/DevServer.h"
#include "devserver/ProgramArguments.h"
#include "devserver/net/LoopbackAddress.h"
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Error.hpp>
#include <CLI/Formatter.hpp>

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <string>
#include <utility>

namespace {

/// Whether the program was started to outlive its terminal, as by `nohup`.
bool outlivesTerminal() {
  struct sigaction inherited {};
  return ::sigaction(SIGHUP, nullptr, &inherited) == 0 && inherited.sa_handler == SIG_IGN;
}

/// Blocks the signals that end the program in this thread and those that it starts.
sigset_t blockEndingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  // An ignored signal that is blocked would be waited for all the same.
  if (!outlivesTerminal()) sigaddset(&signals, SIGHUP);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signals;
}

/// Who reads what is said here may end first; that ends no lesson, and changes no exit status.
void outliveReaders() {
  std::signal(SIGPIPE, SIG_IGN);
}

/// Each connection takes a descriptor, and shells often allow no more than 1,024 in all.
void allowDescriptors(const orv::DevServer::Options& options) {
  constexpr rlim_t kOthers = 256;
  const rlim_t needed = options.maxConnections + options.maxRequests + kOthers;
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= needed) return;
  limit.rlim_cur = std::min(needed, limit.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

int serve(orv::DevServer::Options options) {
  allowDescriptors(options);
  outliveReaders();
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
  if (orv::devserver::isWildcard(host)) {
    std::cerr << "orv-devserver: listens on all addresses of this machine (" << host << ")" << std::endl;
  }
  int signal = 0;
  sigwait(&signals, &signal);
  server.stop();
  std::cerr << "orv-devserver: stopped" << std::endl;
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app;
  orv::devserver::ProgramArguments arguments;
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
