#include "orvnetwork/course/QXCourseManager.h"

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/detail/Catalogue.h>
#include <orvnetwork/course/detail/FolderName.h>
#include <orvnetwork/data/LooseRead.h>
#include <orvnetwork/data/TextFormat.h>
#include <orvnetwork/session/QXUserInfoMgr.h>

#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <utility>

namespace orv {

namespace {

/// The folder of a user's catalogue, below the documents folder. What the server calls the user and the classroom
/// cannot lead out of it.
std::string baseFolder(const std::shared_ptr<OrvUserInfoModel>& user) {
  if (user == nullptr) return "orv_course/public";
  return formatText("orv_course/%@/%@", folderName(formatText("%@", user->uID.get())),
                    folderName(formatText("%@", user->classroom.get())));
}

}  // namespace

void QXCourseManager::reload() {
  QXUserInfoMgr& users = QXUserInfoMgr::getInstance();
  Catalogue::Forgotten forgotten;
  Catalogue& catalogue = *catalogue_;
  {
    const std::unique_lock changing(catalogue.changing);
    const SemaphoreHold held(catalogue.dataSemaphore);
    const std::shared_ptr<OrvUserInfoModel> user = users.userInfo();
    const OptionalString uID = user != nullptr ? user->uID.get() : std::nullopt;
    const OptionalString classroom = user != nullptr ? user->classroom.get() : std::nullopt;
    const std::int64_t userID = uID ? int64FromText(*uID) : 0;
    const bool changed =
        userID != catalogue.currentUserID || !classroom || catalogue.currentClassroomID.get() != classroom;
    if (!changed) return;
    forgotten = catalogue.open(baseFolder(user), userID);
    catalogue.currentUserID = userID;
    catalogue.currentClassroomID = classroom;
    catalogue.tell({.what = CourseChange::What::Opened});
  }
  // Their callbacks are destroyed where they would have been called, with nothing locked.
  if (!forgotten.requests.empty()) {
    catalogue.workers.load()->post([left = std::move(forgotten.requests)] {});
  }
  // The courses that were listed go with this task, when it has been done.
  queue().post([&catalogue, left = std::move(forgotten.courses)] {
    catalogue.ensureLoaded();
    catalogue.tidy();
  });
}

}  // namespace orv
