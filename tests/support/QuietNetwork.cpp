#include <tests/support/QuietNetwork.h>

#include <string>

namespace orv::test {

QuietNetwork::QuietNetwork() {
  here_.connect("net0", nowhere_, "net0");
  nowhere_.ip("link set net0 up");
  here_.ip("link set lo up\nlink set net0 up");
  here_.waitUntilRunning("net0");
  here_.ip(
      "address add 192.0.2.1/24 dev net0\n"
      "address add 2001:db8::1/64 dev net0 nodad\n"
      "neighbor add 192.0.2.9 lladdr 02:00:00:00:00:09 dev net0 nud permanent\n"
      "neighbor add 2001:db8::8 lladdr 02:00:00:00:00:08 dev net0 nud permanent\n"
      "neighbor add 2001:db8::9 lladdr 02:00:00:00:00:09 dev net0 nud permanent\n"
      "route add unreachable 198.51.100.0/24\n"
      "route add unreachable 2001:db8:f::/48");
}

void QuietNetwork::leadOut() const {
  here_.ip("route add default via 192.0.2.9");
}

void QuietNetwork::forbid(const std::string& addresses) const {
  here_.ip("route add prohibit " + addresses);
}

std::string serverAt(const char* address, const char* otherAddress) {
  return std::string(address) + " server.example\n" + otherAddress + " server.example\n";
}

}  // namespace orv::test
