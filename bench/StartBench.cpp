// From process start to the first "PING" at the server: a host of the library beside a process that only
// connects, does the handshake by hand and sends the same four letters.
//
//   StartBench            measures
//   StartBench --raw PORT is the raw process

#include <arpa/inet.h>
#include <openssl/evp.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

int loopbackSocket(unsigned short port, bool listening, unsigned short& bound) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  socklen_t size = sizeof address;
  const bool good = listening ? ::bind(socket, generic, size) == 0 && ::listen(socket, 8) == 0 &&
                                    ::getsockname(socket, generic, &size) == 0
                              : ::connect(socket, generic, size) == 0;
  if (!good) throw std::runtime_error(std::strerror(errno));
  bound = ntohs(address.sin_port);
  return socket;
}

std::string readUntil(int socket, const std::string& end) {
  std::string text;
  char byte = 0;
  while (!text.ends_with(end) && ::recv(socket, &byte, 1, 0) == 1) text += byte;
  return text;
}

constexpr const char* kKey = "dGhlIHNhbXBsZSBub25jZQ==";

int rawProcess(unsigned short port) {
  unsigned short bound = 0;
  const int socket = loopbackSocket(port, false, bound);
  const std::string request =
      "GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: " +
      std::string(kKey) + "\r\n\r\n";
  ::send(socket, request.data(), request.size(), 0);
  readUntil(socket, "\r\n\r\n");
  const unsigned char ping[] = {0x81, 0x84, 0, 0, 0, 0, 'P', 'I', 'N', 'G'};
  ::send(socket, ping, sizeof ping, 0);
  readUntil(socket, "never");
  return 0;
}

/// The answer to the key in a client's handshake.
std::string acceptFor(const std::string& request) {
  const std::string name = "Sec-WebSocket-Key: ";
  const auto begin = request.find(name);
  if (begin == std::string::npos) throw std::runtime_error("no key in the handshake");
  const auto key = request.substr(begin + name.size(), 24) + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int size = 0;
  EVP_Digest(key.data(), key.size(), digest, &size, EVP_sha1(), nullptr);
  unsigned char text[64] = {};
  EVP_EncodeBlock(text, digest, static_cast<int>(size));
  return reinterpret_cast<char*>(text);
}

/// Starts the program, plays the server's side of the handshake, and returns milliseconds until the frame.
double startToFrame(std::vector<std::string> arguments, int listener) {
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  const auto begin = Clock::now();
  pid_t pid = 0;
  if (::posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0) std::abort();
  const int client = ::accept(listener, nullptr, nullptr);
  const auto request = readUntil(client, "\r\n\r\n");
  const std::string answer =
      "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Accept: " +
      acceptFor(request) + "\r\n\r\n";
  ::send(client, answer.data(), answer.size(), 0);
  char frame[10];
  for (std::size_t got = 0; got < sizeof frame;) {
    const auto bytes = ::recv(client, frame + got, sizeof frame - got, 0);
    if (bytes <= 0) throw std::runtime_error("the client went away before its first frame");
    got += static_cast<std::size_t>(bytes);
  }
  const std::chrono::duration<double, std::milli> spent = Clock::now() - begin;
  ::kill(pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);
  ::close(client);
  return spent.count();
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3) return rawProcess(static_cast<unsigned short>(std::atoi(argv[2])));
  unsigned short port = 0;
  const int listener = loopbackSocket(0, true, port);
  std::vector<double> library, raw;
  for (int round = 0; round < 15; ++round) {
    library.push_back(
        startToFrame({ORV_MINIMAL_PROGRAM, "ws://127.0.0.1:" + std::to_string(port)}, listener));
    raw.push_back(startToFrame({argv[0], "--raw", std::to_string(port)}, listener));
  }
  std::printf(
      "process start to first PING, p50: library %.1f ms, raw process %.1f ms, difference %.1f ms "
      "(budget 2)\n",
      median(library), median(raw), median(library) - median(raw));
  return 0;
}
