// The smallest host: uses the installed library by its umbrella header.
#include <orvnetwork/orvnetwork.h>

#include <cstdio>
#include <optional>

int main() {
  orv::MainQueue& main = orv::MainQueue::instance();
  int told = 0;
  const orv::ObserverToken token = orv::NotificationCenter::defaultCenter().observe(
      std::nullopt, [&told](const orv::Notification&) { ++told; });
  main.post([&main] {
    orv::NotificationCenter::defaultCenter().post("Anything");
    main.stop();
  });
  main.run();
  if (told == 1) std::puts("done");
  return told == 1 ? 0 : 1;
}
