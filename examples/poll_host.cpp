// A host with an event loop of its own: it watches the library's wake-up descriptor beside its other
// descriptors in a plain poll() and drains the main queue when there is work.
//
//   poll_host ws://127.0.0.1:PORT MOBILE PASSWORD

#include <orvnetwork/orvnetwork.h>

#include <poll.h>
#include <unistd.h>

#include <iostream>

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: poll_host URL MOBILE PASSWORD\n";
    return 1;
  }
  orv::ClientOptions options;
  options.server = argv[1];
  options.version = "1.0";
  options.build = "1";
  const auto client = orv::Client::start(options);
  if (!client) return std::cerr << client.error().description << '\n', 1;

  int exitCode = -1;
  orv::SessionStatus& session = (*client)->session();
  const auto signingIn = session.signIn(argv[2], argv[3]).then([&](const orv::SignInResult& result) {
    if (result) std::cout << "signed in: " << session.user()->nick.get().value_or("") << std::endl;
    if (!result) std::cout << nameOf(result.outcome()) << ": " << result.text() << std::endl;
    exitCode = result ? 0 : 2;
  });

  auto& main = orv::MainQueue::instance();
  pollfd watched[] = {{main.wakeUpDescriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
  while (exitCode < 0) {
    if (::poll(watched, 2, 15000) == 0) {
      std::cout << "nothing happened for 15 s" << std::endl;
      return 3;
    }
    if ((watched[0].revents & POLLIN) != 0) main.drain();
    // A line, or the end, of standard input ends the program, as a window's close button would.
    if ((watched[1].revents & (POLLIN | POLLHUP)) != 0) return 1;
  }
  return exitCode;
}
