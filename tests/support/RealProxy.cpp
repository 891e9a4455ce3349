#include <orvnetwork/platform/native/system/FileDescriptor.h>

#include <tests/support/ChildProgram.h>
#include <tests/support/ProxyPeer.h>
#include <tests/support/RealProxy.h>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace orv::test {

namespace {

constexpr std::uint16_t kPort = 3128;
constexpr const char* kListensAt = "127.0.0.1";

/// The password as the files of the system's users write it; made by `openssl passwd -6 -salt orvtests`.
constexpr const char* kPasswordHash =
    "$6$orvtests$0fQtNXV2/os4RrnUr/eE8PcKbmCej2mcMKejKnppD8A7yGtwnTcSc9g2Jx1/cxdGEdvKbv2uZTlVF0lPhWkw21";

void write(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
}

bool listens() {
  const FileDescriptor probe(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(kPort);
  address.sin_addr.s_addr = ::inet_addr(kListensAt);
  return ::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

}  // namespace

RealProxy::RealProxy(ProxyProgram program, bool wantsUser)
    : folder_(std::filesystem::path(std::getenv("HOME")) / "proxy") {
  address_.kind = program == ProxyProgram::Tinyproxy ? ProxyKind::Http : ProxyKind::Socks5;
  address_.host = kListensAt;
  address_.port = kPort;
  std::filesystem::create_directory(folder_);
  writeFiles(wantsUser);
  // The proxy knows names and users that the machine does not, and goes with whoever started it.
  std::string shell = "set -e; cd " + folder_ + "; for file in hosts passwd shadow resolv.conf; do ";
  shell += "mount --bind $file $(readlink -f /etc/$file); done; ";
  shell += "exec " + commandFor(program, wantsUser) + " >" + folder_ + "/log 2>&1";
  program_ = std::make_unique<ChildProgram>(
      "/usr/bin/setpriv",
      std::vector<std::string>{"--pdeathsig", "KILL", "/usr/bin/unshare", "--mount", "--pid", "--fork",
                               "--kill-child", "/bin/sh", "-c", shell});
  waitUntilItListens();
}

RealProxy::~RealProxy() {
  program_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void RealProxy::writeFiles(bool wantsUser) const {
  const std::string port = std::to_string(kPort), at = kListensAt, user = kProxyUser,
                    password = kProxyPassword;
  write(folder_ + "/hosts", std::string(kServerAddress) + " " + kServerName + "\n");
  write(folder_ + "/resolv.conf", "");
  write(folder_ + "/passwd", "root:x:0:0::/:/bin/sh\nnobody:x:65534:65534::/:/bin/false\n" + user +
                                 ":x:65533:65534::/:/bin/false\n");
  write(folder_ + "/shadow", user + ":" + kPasswordHash + ":19000:0:99999:7:::\n");
  write(folder_ + "/tinyproxy.conf", "Port " + port + "\nListen " + at + "\nLogLevel Critical\n" +
                                         (wantsUser ? "BasicAuth " + user + " " + password + "\n" : ""));
  write(folder_ + "/dante.conf",
        "logoutput: stderr\ninternal: " + at + " port = " + port + "\nexternal: " + kServerAddress +
            "\nclientmethod: none\nsocksmethod: " + (wantsUser ? "username" : "none") +
            "\nuser.privileged: root\nuser.unprivileged: nobody\n"
            "client pass { from: 0/0 to: 0/0 }\n"
            "socks block { from: 0/0 to: 0/0 port = " +
            std::to_string(kForbiddenPort) + " }\nsocks pass { from: 0/0 to: 0/0 }\n");
}

std::string RealProxy::commandFor(ProxyProgram program, bool wantsUser) const {
  switch (program) {
    case ProxyProgram::Tinyproxy:
      return "tinyproxy -d -c " + folder_ + "/tinyproxy.conf";
    case ProxyProgram::Microsocks:
      return "microsocks -i " + std::string(kListensAt) + " -p " + std::to_string(kPort) +
             (wantsUser ? std::string(" -u ") + kProxyUser + " -P " + kProxyPassword : "");
    case ProxyProgram::Dante:
      break;
  }
  return "/usr/sbin/danted -N 1 -f " + folder_ + "/dante.conf";
}

void RealProxy::waitUntilItListens() const {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!listens()) {
    if (std::chrono::steady_clock::now() > deadline) {
      std::ifstream log(folder_ + "/log");
      throw std::runtime_error("a proxy does not start (run script/bootstrap test); it says: " +
                               std::string(std::istreambuf_iterator<char>(log), {}));
    }
    ::poll(nullptr, 0, 5);
  }
}

}  // namespace orv::test
