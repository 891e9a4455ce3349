#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/transport/QXRequestItem.h>

namespace orv {

/// Commands of the live room: its life, outside streaming vendors, replays of musicians and billing.
/// `QXAPIHelper` tells what all operations have in common.
class ORV_EXPORT QXAPIHelperLive {
 public:
  QXAPIHelperLive() = delete;

  /// @name Live room
  /// @{

  /// "Live.Room.Post.Create": makes a room. "appType" is the text "2", not a number.
  static void createRoomWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                       TimeoutBlock timeoutBlock);

  /// "Live.Room.Post.Start": starts a broadcast.
  /// @param roomID the room; may be absent
  /// @param title title of the broadcast; may be absent
  static void startLiveWithRoomID_title_completeBlock_timeoutBlock(const Object& roomID,
                                                                   const OptionalString& title,
                                                                   CompleteBlock completeBlock,
                                                                   TimeoutBlock timeoutBlock);

  /// "Live.Room.Post.Close": ends a broadcast.
  /// @param roomID the room; may be absent
  static void stopLiveWithRoomID_completeBlock_timeoutBlock(const Object& roomID, CompleteBlock completeBlock,
                                                            TimeoutBlock timeoutBlock);

  /// "Live.Room.Post.Enter": enters a room.
  /// @param roomID the room; may be absent
  static void enterRoomWithRoomID_completeBlock_timeoutBlock(const Object& roomID,
                                                             CompleteBlock completeBlock,
                                                             TimeoutBlock timeoutBlock);

  /// "Live.Room.Post.Leave": leaves a room.
  /// @param roomID the room, in its text form; absent: ""
  static void leaveLiveRoom_completeBlock_timeoutBlock(const Object& roomID, CompleteBlock completeBlock,
                                                       TimeoutBlock timeoutBlock);

  /// "Live.Room.Put.Title": renames a room. The title is the first argument and the second member.
  /// @param title the new title; may be absent
  /// @param roomID the room; may be absent
  static void setRoomTitle_roomID_completeBlock_timeoutBlock(const OptionalString& title,
                                                             const Object& roomID,
                                                             CompleteBlock completeBlock,
                                                             TimeoutBlock timeoutBlock);

  /// "Live.Room.Get.Streaminfo": where the room's stream is.
  /// @param roomID the room; may be absent
  static void getLiveStreamInfo_completeBlock_timeoutBlock(const Object& roomID, CompleteBlock completeBlock,
                                                           TimeoutBlock timeoutBlock);

  /// "Live.Room.Get.Stat": the room's statistics.
  /// @param roomID the room; may be absent
  static void getLiveStatWithRoomID_completeBlock_timeoutBlock(const Object& roomID,
                                                               CompleteBlock completeBlock,
                                                               TimeoutBlock timeoutBlock);

  /// "Live.Room.Get.Live": whether the user is live; the values are empty.
  static void getLiveStatusWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                          TimeoutBlock timeoutBlock);

  /// "Channel.Get.Live": the channel's live state; the values are empty.
  static void getLiveWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock, TimeoutBlock timeoutBlock);

  /// "Live.Room.Get.Replay": the room's replays.
  /// @param roomID the room; may be absent
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getReplayCourseList_start_limit_completeBlock_timeoutBlock(const Object& roomID,
                                                                         std::int64_t start,
                                                                         std::int64_t limit,
                                                                         CompleteBlock completeBlock,
                                                                         TimeoutBlock timeoutBlock);

  /// "Live.Room.Post.Forbid": forbids a user to speak.
  /// @param roomID the room; may be absent
  /// @param uID the user; may be absent
  static void liveRoomForbid_uID_completeBlock_timeoutBlock(const Object& roomID, const Object& uID,
                                                            CompleteBlock completeBlock,
                                                            TimeoutBlock timeoutBlock);

  /// "Course.Post.wall" (with a lower-case last word on purpose): a line that flies over the picture. It is
  /// a post on the course's wall with fixed marks: "fileType" 1, "issue" 0, "duration" 1.
  /// @param content its text; may be absent
  /// @param roomID the room; may be absent
  static void livePostBarrage_roomID_completeBlock_timeoutBlock(const OptionalString& content,
                                                                const Object& roomID,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// @}

  /// @name Outside streaming vendors
  /// @{

  /// "Live.Room.Vendor.Items": the vendors; the values are empty.
  static void getVendorItemsWithCompleteBlock_timeoutBlock(CompleteBlock completeBlock,
                                                           TimeoutBlock timeoutBlock);

  /// "Live.Room.Vendor.Publish": publishes the broadcast to a vendor. The members stand in the reverse
  /// order of the arguments.
  /// @param roomID the room; may be absent
  /// @param vendorID the vendor; may be absent
  /// @param status a code of the server; may be absent
  static void publishLiveWithRoomID_vendorID_status_completeBlock_timeoutBlock(const Object& roomID,
                                                                               const Object& vendorID,
                                                                               const Object& status,
                                                                               CompleteBlock completeBlock,
                                                                               TimeoutBlock timeoutBlock);

  /// "Live.Room.Vendor.Unbind": parts from a vendor.
  /// @param vendorID the vendor; may be absent
  static void vendorUnbind_completeBlock_timeoutBlock(const Object& vendorID, CompleteBlock completeBlock,
                                                      TimeoutBlock timeoutBlock);

  /// @}

  /// @name Replays of musicians
  /// @{

  /// "Musician.Replay.Get.Itemlist": a musician's replays.
  /// @param uID the musician; may be absent
  /// @param start index of the first row wanted
  /// @param limit number of rows wanted
  static void getMusicianReplayList_start_limit_completeBlock_timeoutBlock(const Object& uID,
                                                                           std::int64_t start,
                                                                           std::int64_t limit,
                                                                           CompleteBlock completeBlock,
                                                                           TimeoutBlock timeoutBlock);

  /// "Musician.Replay.Post.Delete": deletes a replay.
  /// @param replayID the replay; may be absent
  static void deleteReplayWithReplayID_completeBlock_timeoutBlock(const Object& replayID,
                                                                  CompleteBlock completeBlock,
                                                                  TimeoutBlock timeoutBlock);

  /// "Musician.Replay.Post.View": counts a view of a replay.
  /// @param replayID the replay; may be absent
  static void viewReplayWithReplayID_completeBlock_timeoutBlock(const Object& replayID,
                                                                CompleteBlock completeBlock,
                                                                TimeoutBlock timeoutBlock);

  /// @}

  /// @name Billing
  /// @{

  /// "Course.Billing.Start": starts the billing of a live or on-demand course.
  /// @param roomID the course; goes out as a number here
  /// @param type 1: goes out as "live"; 2: as "vod"; any other: there is no "type"
  static void courseBillingStartWithRoomID_type_completeBlock_timeoutBlock(std::int64_t roomID,
                                                                           std::int64_t type,
                                                                           CompleteBlock completeBlock,
                                                                           TimeoutBlock timeoutBlock);

  /// "Course.Billing.Stop": ends it.
  /// @param roomID the course; goes out as a number here
  /// @param type 1: goes out as "live"; 2: as "vod"; any other: there is no "type"
  static void courseBillingStopWithRoomID_type_completeBlock_timeoutBlock(std::int64_t roomID,
                                                                          std::int64_t type,
                                                                          CompleteBlock completeBlock,
                                                                          TimeoutBlock timeoutBlock);

  /// @}
};

}  // namespace orv
