#pragma once

#include <orvnetwork/data/Json.h>

#include <tests/support/LinkFixture.h>

#include <optional>

namespace orv {

/// The roads by which a host is handed values. What is done with such a value is done at once, while the library still
/// holds what it came in, and again with a copy when the library has let go of all that.
class HostValues : public LinkFixture {
 protected:
  using Use = void (*)(const json::value&);

  HostValues();

  /// A dictionary of some 12 KB with values of every kind, which all roads hand out.
  static json::object largeValue();

  void useOfAReply(Use use);
  void useOfANotification(Use use);
  void useOfACallThroughTheRegistry(Use use);
  void useOfARecord(Use use);
  static void useOfAParsedText(Use use);

 private:
  /// Lets the library go on, and uses what was kept: a copy that was constructed of what was handed out, as it takes the
  /// storage along.
  void useKept(const std::optional<json::value>& kept, Use use);
};

}  // namespace orv
