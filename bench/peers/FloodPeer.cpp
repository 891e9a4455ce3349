// The library before a server that sends pushes faster than the main thread takes them, which is busy at first: what the
// process's memory grows to, and what is left of it afterwards.
//
//   bench_peer_flood ADDRESS:PORT PUSHES     with a server that was told to send so many; with 0 it is a process that
//                                            has nothing to do

#include <orvnetwork/orvnetwork.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Timer.h>
#include <orvnetwork/transport/QXNotification.h>

#include "bench/support/OpenLink.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;

/// MiB, from a line of /proc/self/status such as VmRSS or VmHWM.
double memory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name + ":")) return std::atof(line.c_str() + name.size() + 1) / 1024;
  }
  return 0;
}

/// The main thread does something else until the process grows no more.
void beBusy() {
  int still = 0;
  for (double last = memory("VmRSS"); still < 20;) {
    std::this_thread::sleep_for(100ms);
    const double now = memory("VmRSS");
    still = now - last < 1 ? still + 1 : 0;
    last = now;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return std::fputs("usage: bench_peer_flood ADDRESS:PORT PUSHES\n", stderr), 2;
  const long pushes = std::atol(argv[2]);
  auto& main = orv::MainQueue::instance();
  long received = 0;
  const auto heard = orv::NotificationCenter::defaultCenter().observe(
      std::string(orv::QXNotificationPushOrvMessage), [&](const orv::Notification&) {
        if (++received == pushes) main.stop();
      });
  bench::openLink("ws://" + std::string(argv[1]));
  const double before = memory("VmRSS");
  beBusy();
  const double busy = memory("VmRSS");
  if (received < pushes) main.run();
  orv::Timer::schedule(orv::Seconds(3), false, [&] { main.stop(); });
  main.run();
  std::printf(
      "{\"pushes\": %ld, \"before_mib\": %.1f, \"busy_mib\": %.1f, \"most_mib\": %.1f, \"left_mib\": %.1f}\n",
      received, before, busy, memory("VmHWM"), memory("VmRSS"));
  return 0;
}
