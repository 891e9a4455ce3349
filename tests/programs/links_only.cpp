// A program that is linked with the library and never uses it.

#include <orvnetwork/orvnetwork.h>

int main() {
  // Taking an address binds the library to the program.
  auto* volatile unused = &orv::QXWebSocketMgr::standard;
  return unused != nullptr ? 0 : 1;
}
