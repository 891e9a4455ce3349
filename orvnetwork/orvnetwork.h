#pragma once

/// @file
/// The public surface of the library in one include.

/// @namespace orv
/// The client side of a live classroom: one link to its server, and what travels over it.
///
/// Begin with `Client` (the system, set up and running), `LinkStatus`, `SessionStatus`, `CourseList` and `LocalCourses`, with
/// `ask` for everything that the server can be asked (`QXAPIHelper`), and with `MainQueue` (where callbacks run). Below
/// them are `QXWebSocketMgr` (the link), `QXUserInfoMgr` (the user) and `QXCourseManager` (the catalogue of courses).
/// Names that begin with QX, Orv or WX are those of the system; `Platform` and what it gives are the seam to the operating
/// system.

#include <orvnetwork/api/Operation.h>
#include <orvnetwork/api/OperationRegistry.h>
#include <orvnetwork/api/Prompts.h>
#include <orvnetwork/api/QXAPIHelper.h>
#include <orvnetwork/api/QXAPIHelperAccount.h>
#include <orvnetwork/api/QXAPIHelperClassroom.h>
#include <orvnetwork/api/QXAPIHelperCourse.h>
#include <orvnetwork/api/QXAPIHelperCourseList.h>
#include <orvnetwork/api/QXAPIHelperInteraction.h>
#include <orvnetwork/api/QXAPIHelperLive.h>
#include <orvnetwork/client/Ask.h>
#include <orvnetwork/client/Client.h>
#include <orvnetwork/client/ClientError.h>
#include <orvnetwork/client/ClientOptions.h>
#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/client/LinkSnapshot.h>
#include <orvnetwork/client/LinkStatus.h>
#include <orvnetwork/client/LocalCourseTrouble.h>
#include <orvnetwork/client/LocalCourses.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/client/PendingCallback.h>
#include <orvnetwork/client/PendingEnd.h>
#include <orvnetwork/client/PendingSource.h>
#include <orvnetwork/client/Reply.h>
#include <orvnetwork/client/ReplyCode.h>
#include <orvnetwork/client/SessionInfo.h>
#include <orvnetwork/client/SessionStatus.h>
#include <orvnetwork/client/SignIn.h>
#include <orvnetwork/client/Subscribers.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/CourseStore.h>
#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/course/QXCourseManager.h>
#include <orvnetwork/data/Record.h>
#include <orvnetwork/data/TerminalText.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/ConnectReport.h>
#include <orvnetwork/platform/Console.h>
#include <orvnetwork/platform/HomeFolder.h>
#include <orvnetwork/platform/MainBundle.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/NetworkSettings.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Platform.h>
#include <orvnetwork/platform/ProxyChoice.h>
#include <orvnetwork/platform/ProxySettings.h>
#include <orvnetwork/platform/TextBatch.h>
#include <orvnetwork/platform/ThisMachine.h>
#include <orvnetwork/platform/TlsSettings.h>
#include <orvnetwork/session/OrvClassroomInfo.h>
#include <orvnetwork/session/OrvOtherDeviceLoginInfo.h>
#include <orvnetwork/session/OrvUserInfoModel.h>
#include <orvnetwork/session/QXUserInfoMgr.h>
#include <orvnetwork/session/WXUserInfoModel.h>
#include <orvnetwork/support/QXCommonTools.h>
#include <orvnetwork/support/QXDate.h>
#include <orvnetwork/support/QXFileLog.h>
#include <orvnetwork/support/QXPathManager.h>
#include <orvnetwork/transport/DistinctIdentifiers.h>
#include <orvnetwork/transport/FrameTrace.h>
#include <orvnetwork/transport/LinkFailure.h>
#include <orvnetwork/transport/LinkReading.h>
#include <orvnetwork/transport/LinkStatistics.h>
#include <orvnetwork/transport/QXNotification.h>
#include <orvnetwork/transport/QXRequestItem.h>
#include <orvnetwork/transport/QXWebSocketMgr.h>
#include <orvnetwork/transport/SentRequest.h>
#include <orvnetwork/transport/TraceFile.h>
#include <orvnetwork/version.h>
