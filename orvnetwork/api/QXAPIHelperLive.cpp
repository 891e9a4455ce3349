// Live room, replay and vendor commands.

#include "orvnetwork/api/QXAPIHelperLive.h"

#include <orvnetwork/api/detail/Sending.h>
#include <orvnetwork/api/detail/Values.h>

#include <utility>

namespace orv {

namespace {

/// The wire's word for a kind of billing; absent where it has none.
Object billingWord(std::int64_t type) {
  if (type == 1) return "live";
  if (type == 2) return "vod";
  return {};
}

}  // namespace

// Live room.

void QXAPIHelperLive::createRoomWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                               TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Post.Create", Values().set("appType", "2").take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperLive::startLiveWithRoomID_title_completeBlock_timeoutBlock(const Object& roomID,
                                                                           const OptionalString& title,
                                                                           CompleteBlock completeBlock,
                                                                           TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Post.Start", Values().set("roomID", roomID).set("title", title).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::stopLiveWithRoomID_completeBlock_timeoutBlock(const Object& roomID,
                                                                    CompleteBlock completeBlock,
                                                                    TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Post.Close", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperLive::enterRoomWithRoomID_completeBlock_timeoutBlock(const Object& roomID,
                                                                     CompleteBlock completeBlock,
                                                                     TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Post.Enter", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperLive::leaveLiveRoom_completeBlock_timeoutBlock(const Object& roomID,
                                                               CompleteBlock completeBlock,
                                                               TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Post.Leave", Values().setText("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperLive::setRoomTitle_roomID_completeBlock_timeoutBlock(const OptionalString& title,
                                                                     const Object& roomID,
                                                                     CompleteBlock completeBlock,
                                                                     TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Put.Title", Values().set("roomID", roomID).set("title", title).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::getLiveStreamInfo_completeBlock_timeoutBlock(const Object& roomID,
                                                                   CompleteBlock completeBlock,
                                                                   TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Get.Streaminfo", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperLive::getLiveStatWithRoomID_completeBlock_timeoutBlock(const Object& roomID,
                                                                       CompleteBlock completeBlock,
                                                                       TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Get.Stat", Values().set("roomID", roomID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperLive::getLiveStatusWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                                  TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Get.Live", json::object(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::getLiveWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                            TimeoutBlock timeoutBlock) {
  sendCommand("Channel.Get.Live", json::object(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::getReplayCourseList_start_limit_completeBlock_timeoutBlock(const Object& roomID,
                                                                                 std::int64_t start,
                                                                                 std::int64_t limit,
                                                                                 CompleteBlock completeBlock,
                                                                                 TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Get.Replay",
              Values().set("roomID", roomID).set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::liveRoomForbid_uID_completeBlock_timeoutBlock(const Object& roomID, const Object& uID,
                                                                    CompleteBlock completeBlock,
                                                                    TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Post.Forbid", Values().set("roomID", roomID).set("uID", uID).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::livePostBarrage_roomID_completeBlock_timeoutBlock(const OptionalString& content,
                                                                        const Object& roomID,
                                                                        CompleteBlock completeBlock,
                                                                        TimeoutBlock timeoutBlock) {
  sendCommand("Course.Post.wall",
              Values()
                  .set("content", content)
                  .set("roomID", roomID)
                  .set("fileType", 1)
                  .set("issue", 0)
                  .set("duration", 1)
                  .take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

// Outside streaming vendors.

void QXAPIHelperLive::getVendorItemsWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                                   TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Vendor.Items", json::object(), std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::publishLiveWithRoomID_vendorID_status_completeBlock_timeoutBlock(
    const Object& roomID, const Object& vendorID, const Object& status, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Vendor.Publish",
              Values().set("status", status).set("vendorID", vendorID).set("roomID", roomID).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::vendorUnbind_completeBlock_timeoutBlock(const Object& vendorID,
                                                              CompleteBlock completeBlock,
                                                              TimeoutBlock timeoutBlock) {
  sendCommand("Live.Room.Vendor.Unbind", Values().set("vendorID", vendorID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

// Replays of musicians.

void QXAPIHelperLive::getMusicianReplayList_start_limit_completeBlock_timeoutBlock(
    const Object& uID, std::int64_t start, std::int64_t limit, CompleteBlock completeBlock,
    TimeoutBlock timeoutBlock) {
  sendCommand("Musician.Replay.Get.Itemlist",
              Values().set("uID", uID).set("start", start).set("limit", limit).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::deleteReplayWithReplayID_completeBlock_timeoutBlock(const Object& replayID,
                                                                          CompleteBlock completeBlock,
                                                                          TimeoutBlock timeoutBlock) {
  sendCommand("Musician.Replay.Post.Delete", Values().set("id", replayID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

void QXAPIHelperLive::viewReplayWithReplayID_completeBlock_timeoutBlock(const Object& replayID,
                                                                        CompleteBlock completeBlock,
                                                                        TimeoutBlock timeoutBlock) {
  sendCommand("Musician.Replay.Post.View", Values().set("id", replayID).take(), std::move(completeBlock),
              std::move(timeoutBlock));
}

// Billing.

void QXAPIHelperLive::courseBillingStartWithRoomID_type_completeBlock_timeoutBlock(
    std::int64_t roomID, std::int64_t type, CompleteBlock completeBlock, TimeoutBlock timeoutBlock) {
  sendCommand("Course.Billing.Start", Values().set("roomID", roomID).set("type", billingWord(type)).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

void QXAPIHelperLive::courseBillingStopWithRoomID_type_completeBlock_timeoutBlock(std::int64_t roomID,
                                                                                  std::int64_t type,
                                                                                  CompleteBlock completeBlock,
                                                                                  TimeoutBlock timeoutBlock) {
  sendCommand("Course.Billing.Stop", Values().set("roomID", roomID).set("type", billingWord(type)).take(),
              std::move(completeBlock), std::move(timeoutBlock));
}

}  // namespace orv
