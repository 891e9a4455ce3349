#pragma once

#include <orvnetwork/data/Property.h>
#include <orvnetwork/data/Record.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// One course: live, recorded in the cloud, or recorded on this device. The JSON key of each field is the field's
/// name; codes that are not explained are the server's own.
///
/// Beside its fields a record knows where its files lie. Those operations work on the caller's thread; two
/// threads that make names for one course at once may make the same name, and of two pieces that they add at once
/// one may be missing from the list.
class ORV_EXPORT OrvCourseModel : public Record {
 public:
  Property<bool> orv_local;  ///< a recording on this device
  Property<OptionalString> orv_intro;
  Property<std::optional<json::object>> orv_createInfo;  ///< what a local course was created with
  Property<std::int64_t> orv_cloudRoomID;                ///< room of the copy in the cloud; 0 or less: none
  Property<double> orv_vectorDuration;                   ///< length of the whiteboard recording in seconds
  Property<std::uint64_t> videoType;
  Property<std::int64_t> seriesType;
  Property<std::uint64_t> status;
  Property<OptionalString> title;
  Property<OptionalString> coverUrl;  ///< address of the cover
  Property<OptionalString> flvUrl;
  Property<OptionalString> rtmpUrl;
  Property<OptionalString> hlsUrl;
  Property<std::int64_t> viewCnt;
  /// Length in seconds. Reading gives `orv_vectorDuration` where `liveType` is 1 or 3; writing sets the stored
  /// length, which every other `liveType` reads.
  double duration() const;
  void setDuration(double duration) { duration_ = duration; }
  Property<OptionalString> rolename;
  Property<std::int64_t> updatetime;  ///< seconds since 1970
  Property<std::int64_t> whiteboardDataID;
  Property<std::int64_t> uID;  ///< the owner
  Property<std::int64_t> cover;
  Property<std::int64_t> startTimeEnable;  ///< 0 or 1: whether a start time is set
  Property<std::uint64_t> courseType;
  Property<std::int64_t> pptStatus;
  Property<std::int64_t> addtime;  ///< creation, seconds since 1970
  Property<std::int64_t> roomID;   ///< identifies the course
  Property<std::int64_t> tvSeries;
  Property<std::uint64_t> liveType;    ///< 1 and 3: live; 2: recorded
  Property<std::int64_t> classroomID;  ///< the classroom that owns the course
  Property<std::int64_t> role;
  Property<std::int64_t> income;
  Property<std::int64_t> startTime;  ///< seconds since 1970
  Property<std::int64_t> enrolmentCnt;
  Property<float> coursePrice;
  Property<std::uint64_t> publishStatus;  ///< 1: published to the cloud; 99: a new local course
  Property<OptionalString> videoUrl;      ///< address of the replay
  Property<std::uint64_t> videoStatus;    ///< state of the replay
  Property<OptionalString> host;
  Property<std::uint64_t> liveStatus;
  Property<OptionalString> publishUrl;  ///< address that a stream is pushed to
  Property<OptionalString> teacher;     ///< name
  Property<OptionalString> teacherIntro;
  Property<OptionalString> intro;
  Property<std::uint64_t> liveCommand;
  Property<OptionalString> nick;            ///< the owner's
  Property<OptionalString> userpic;         ///< address of the owner's picture
  Property<double> livePauseRemainingTime;  ///< seconds
  Property<double> liveStartTime;           ///< seconds
  Property<double> liveTime;                ///< live so far, in seconds
  Property<bool> test;
  Property<double> liveDuration;      ///< planned, in seconds
  Property<OptionalString> shareUrl;  ///< address of the page to share
  Property<bool> kelto_open;

  static const RecordTable& table();
  const RecordTable& fields() const override { return table(); }

  /// The value of `orv_local`.
  bool isEditting() const { return orv_local; }

  /// Courses of exactly the same class are equal when their `roomID` is, whatever else they hold. The hash goes
  /// over all fields, so equal courses may have different hashes.
  bool isEqual(const Record* other) const override;
  std::size_t hash() const override { return hashOfAllFields(*this); }
  /// A copy, field by field, with the duration as it reads now.
  virtual std::shared_ptr<OrvCourseModel> copyWithZone() const;

  bool isArchivable() const override { return true; }
  static std::shared_ptr<OrvCourseModel> initWithCoder(const KeyedArchive& archive);

  /// @name Files of the course, under the user's documents folder. Paths are absolute.
  /// @{

  /// Name of the course's folder: the classroom's and the room's number, as in "12-3456".
  std::string fileName() const;
  /// The course's folder. Makes nothing.
  std::string courseFolder() const;
  /// The folders of the recorded pieces, of pieces in the making, and of captured pictures. Each makes what is
  /// missing, and is absent when that fails.
  OptionalString generateMp4Folder() const;
  OptionalString generateMp4TempFolder() const;
  OptionalString generateCaptureFolder() const;
  /// Where the snapshot of this number is kept, a "png". Makes its folder.
  std::string imageCachePathForIndex(std::uint64_t index) const;
  /// Where the list of actions is kept. Makes its folder.
  std::string actionPath() const;
  /// The course's one recorded piece: the file whose name ends in "mp4"; absent when there is none or more than
  /// one. Makes the folder of the pieces.
  OptionalString mp4Path() const;
  /// A new name for the next piece: the local day, in the user's calendar and digits, and a number that counts
  /// from 1 on each day, as in "240131-3.mp4". The count is kept beside the pieces; a name comes also when it cannot
  /// be written there, which the console gets a line. A count that cannot be read begins anew.
  std::string generateMp4FileName() const;
  /// Appends a piece to the list of pieces. `duration` is in seconds. When the list cannot be written, or the one
  /// that is there cannot be read, it stays as it is, and the console gets a line. What killed programs left there goes.
  void addNewMp4_duration(std::string_view name, double duration) const;

  /// @}

  /// Is called when a refresh ends: whether it succeeded; if not, why: the server's text, "failed" or "timeout"; and the
  /// whole reply frame, as a request's completion callback gets it, which lives only as long as the call: null
  /// when none came.
  using RefreshBlock =
      std::function<void(bool success, const OptionalString& message, const json::object* reply)>;

  /// Asks the server for the course and takes over the address and state of its replay when there is an address. A
  /// local course that was published asks for its copy in the cloud. The record may go meanwhile; then nothing is
  /// taken over (nor is it by a record that no `std::shared_ptr` holds), and the callback comes all the same: on the
  /// main thread, or within this call when the link is not open. It may be empty. An error of the server that is
  /// no text is told in its text form; one that is null is none, and data that are null are none.
  void refreshCourseInfoWithCompleteBlock(RefreshBlock completeBlock);

 private:
  Property<double> duration_;
};

}  // namespace orv
