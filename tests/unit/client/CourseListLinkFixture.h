#pragma once

#include <orvnetwork/transport/QXWebSocketMgr.h>

#include "CourseListFixture.h"

#include <optional>
#include <string>

namespace orv {

/// Lists of courses whose link, session or server fails.
class CourseListLinkFixture : public CourseListFixture {
 protected:
  /// Lets the server keep quiet about pages; the session is good.
  void keepPagesBack() {
    instead = [](const json::object& frame) -> std::optional<json::object> {
      const bool isPage = frame.at("c") == "Course.Get.Items";
      return isPage ? std::nullopt : std::optional(json::object{{"ret", 0}, {"data", json::object()}});
    };
  }
  /// Opens a link that nobody opens by himself any more.
  void openLink() {
    link.watchNetworkStatus();
    for (int attempt = 0; attempt < 5 && !link.isOpen(); ++attempt) {
      runFor(31);
      if (!link.isOpen()) link.reconnect();
    }
    ASSERT_TRUE(link.isOpen());
  }
  static std::string whyFailed(const CourseList& list) {
    return list.lastError() ? std::string(nameOf(list.lastError()->kind)) + ": " + list.lastError()->text
                            : "";
  }
};

}  // namespace orv
