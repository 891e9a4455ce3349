#pragma once

#include "cli/demo/Tour.h"

namespace orv::cli::demo {

/// The mobile number of the teacher whose application this is.
inline constexpr const char* kTeacher = "13800000001";
/// A password that is tried and must not be found anywhere in the clear.
inline constexpr const char* kWrongPassword = "open-sesame-4711";

/// The steps of the tour. Each shows one thing, and passes its verdicts on what really happened.

void serverStarts(Tour& tour);
void linkOpens(Tour& tour);
void requestIsAnswered(Tour& tour);
void requestsOverlap(Tour& tour);
void requestIsHeld(Tour& tour);
void passwordIsRefused(Tour& tour);
void userLogsIn(Tour& tour);
void heldRequestIsSentAgain(Tour& tour);
void catalogueIsLoaded(Tour& tour);
void courseIsPublished(Tour& tour);
void lessonIsHeld(Tour& tour);
void otherDeviceSignsIn(Tour& tour);
void pushesArrive(Tour& tour);
void garbageIsDropped(Tour& tour);
void replyIsLost(Tour& tour);
void linkIsLost(Tour& tour);
void requestTimesOut(Tour& tour);
void userLogsOut(Tour& tour);
void logIsRead(Tour& tour);
void diskIsShown(Tour& tour);

}  // namespace orv::cli::demo
