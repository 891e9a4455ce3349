#pragma once

#include <orvnetwork/client/LocalCourseTrouble.h>
#include <orvnetwork/client/Pending.h>
#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Result.h>
#include <orvnetwork/data/Types.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace orv {

/// The courses that were recorded on this device and lie on its disk, of the user who is signed in.
///
///     creating_ = courses.create({{"title", "Algebra"}}).then([this](const orv::LocalCourses::Answer& made) {
///       if (!made) return show(made.error().description);
///       open(*made);                                      // a record of our own, with its number
///     });
///
/// What is told as done is on the disk, record and list, and there after a crash. All disk work happens on the worker pool,
/// in the order in which it was asked for. Destroying or cancelling an answer withdraws the callback only: what was asked
/// for is done.
///
/// The records belong to the caller: what comes in is copied, what goes out is a copy, and nothing changes either
/// afterwards. Main thread; calls back there, never inside the call.
///
/// Make it after the `Client`, which says where everything is kept; several in one program are as one: their work is done
/// in one order.
class ORV_EXPORT LocalCourses {
 public:
  /// A course of the caller's own; never null in an answer without an error.
  using Course = std::shared_ptr<OrvCourseModel>;
  using Answer = Result<Course>;

  LocalCourses();
  /// What was asked for is done all the same; nobody is told.
  ~LocalCourses();
  LocalCourses(const LocalCourses&) = delete;
  LocalCourses& operator=(const LocalCourses&) = delete;

  /// Makes a course in front of the list, with a number that no other one has, however many are made in one second.
  /// @param fields members to begin with, such as "title"; those that make it a local course ("roomID", "orv_local",
  ///        "publishStatus", "liveType", "addtime", and the room that `publish` notes) are set by the system
  /// @return the course; `NotWritten`: then there is none
  Pending<Answer> create(json::object fields = {});

  /// Writes a course of the list, told by its `roomID`; its place stays.
  /// @param course copied before this returns; "orv_local" counts as set,
  ///        and what `publish` has noted stays
  /// @return the course as it is on the disk; `NotFound`, or `NotWritten`: then it is as it was
  Pending<Answer> save(const OrvCourseModel& course);

  /// Removes a course from the list and the disk, with its recording.
  /// @return its number; `NotFound`, or `NotWritten`: then it may be there again after a restart
  Pending<Result<std::int64_t>> remove(std::int64_t roomID);

  /// Announces a course to the server ("Course.Post.Create"), which gives it a room of its own, and notes that room in
  /// `orv_cloudRoomID` with `publishStatus` 1. A course that has a room already is not announced again. The request is
  /// made of the title, the course's `orv_createInfo` and `info`; what stands further behind here counts more.
  ///
  /// That is all that the library does for publishing. The host uploads the recording and submits it
  /// (`QXAPIHelper::coursePostUpdateSubmit…`); when the server then confirms the publishing by a push, the course is
  /// removed from this device. It knows it among the courses in memory, to which `find` and `all` bring those that are
  /// being published. A push that comes while the program does not run is not repeated.
  ///
  /// A request that the server refuses for want of a session waits for one, 20 s at most and for this user only: when
  /// another one signs in, or this one signs out, it is taken back. What the server has got by then it may carry out.
  /// @param info members of the request
  /// @return the course with its room; a refusal with the server's own code (`kReplyErrorDomain`). A room that the server
  ///         has made is there even when it could not be noted: because the disk has not taken it (`NotWritten`), the
  ///         course was removed meanwhile (`NotFound`) or the user has changed (`OtherUser`); the description then names it
  Pending<Answer> publish(std::int64_t roomID, json::object info = {});

  /// The course with this number, read from the disk where it is not in memory.
  Pending<Answer> find(std::int64_t roomID);
  /// All courses in the order of the list, the latest first. Those whose file is gone are left out.
  Pending<Result<std::vector<Course>>> all();

 private:
  class Work;
  const std::shared_ptr<Work> work_;
};

}  // namespace orv
