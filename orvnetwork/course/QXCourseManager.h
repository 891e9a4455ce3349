#pragma once

#include <orvnetwork/course/CourseLimits.h>
#include <orvnetwork/course/CourseRequest.h>
#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/platform/Executor.h>
#include <orvnetwork/platform/NotificationCenter.h>
#include <orvnetwork/platform/Semaphore.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orv {

struct Catalogue;
class CourseStore;
class PageReply;
struct PageLoad;
class UnmergedPage;

/// The courses of the user who is signed in, and of their classroom: those recorded on this device, those recorded in
/// the cloud, and the live ones by status.
///
/// Each of these collections is an ordered list of keys (a course's key is its room's number in decimal), the
/// records that are in memory, and a file for every record, from which a record that has left the memory comes
/// back. Each pair of user and classroom has a catalogue of its own on the disk. Cloud and live lists are loaded
/// from the server page by page as ranges of them are asked for; local courses exist on this device only and are
/// written durably.
///
/// Operations may be called on any thread. Where nothing else is said they wait for `dataSemaphore`, which
/// guards the whole catalogue, and work on the caller's thread. Records are shared with the caller: the manager
/// updates them in place. Callbacks of requests run on `queue()`, with nothing locked.
class ORV_EXPORT QXCourseManager final {
 public:
  using Course = std::shared_ptr<OrvCourseModel>;
  using Courses = std::map<std::string, Course>;
  using Keys = std::vector<std::string>;
  /// Is called with what became of an update: the course, or null.
  using UpdateHandler = std::function<void(const Course& course)>;

  /// The one instance, made on first use and never destroyed.
  static QXCourseManager& getInstance();
  /// The same instance.
  static QXCourseManager& allocWithZone() { return getInstance(); }
  QXCourseManager& copy() { return *this; }
  QXCourseManager& mutableCopy() { return *this; }
  /// Sets the manager up as it was when it was made: fresh semaphores, no user, no waiting requests, the observers
  /// registered once more, and the catalogue of the current user loaded. `getInstance` has done it once.
  QXCourseManager& init();

  QXCourseManager(const QXCourseManager&) = delete;
  QXCourseManager& operator=(const QXCourseManager&) = delete;

  /// @name Local courses
  /// Courses whose `roomID` is not above 0, or that are not marked `orv_local`, are ignored, except by `deleteLocalCourse`.
  /// A file that cannot be written is logged to the console; the memory keeps the change.
  ///
  /// Other programs with the same home may change the list too. Each change here begins by taking over theirs, and
  /// waits 2 s at most for one that is under way, without `dataSemaphore`. As long as that does not end, the list is written
  /// later and nobody waits.
  /// @{

  /// A new course for a recording on this device, in no list yet. Its number is free now; only `addLocalCourse`
  /// takes it. Other programs with the same home do not get this number.
  Course createLocalCourse();
  /// Puts a course in front of the list and on the disk. True when it was not in the list before.
  bool addLocalCourse(const Course& course);
  /// Moves a course of the list to its front and writes it; one that is not in the list is ignored.
  void refreshLocalCourse(const Course& course);
  /// Writes a course of the list and leaves it in its place.
  void saveLocalCourse(const Course& course);
  /// Removes a course from the list and the disk, with its record file and its folder, also when it is not in the
  /// list. When this returns the folder is gone; a worker removes the files that were in it.
  void deleteLocalCourse(const Course& course);
  /// The same for a course of the list.
  void deleteLocalCourseWithRoomID(std::int64_t roomID);
  /// The course of the list with this number, from memory or from its file; null when there is none.
  Course getLocalCourseWithRoomID(std::int64_t roomID);
  /// The course at an index of the list; null when there is none.
  Course getLocalCourseWithIndex(std::uint64_t index);
  /// Does not wait for `dataSemaphore`.
  std::uint64_t getLocalCourseCount() const;

  /// @}
  /// @name Recorded courses in the cloud
  /// @{

  /// Asks for `count` courses of the list from the index `start` on, and for the pages of 30 that are missing; with
  /// `force` for all pages of the range, whatever the list holds. Up to three attempts are made for a page. One whose
  /// request the link has forgotten, since another request took its identifier, is given up after 15 s.
  ///
  /// What a host must know of the rules behind it:
  /// - Without `force` the page is chosen by how long the list is. When all courses of a page are passed over (status 4,
  ///   or 5 and not published) the list stays as long as it was, so the same page is asked for again and again and the
  ///   request is never answered. After a page that changed nothing 1 s passes before that, then 2 s, up to 30 s. Such
  ///   a range needs `force`.
  /// - A page without courses clears the list, whatever its number. So reading on to the end of a list whose length is a
  ///   multiple of 30 empties it: the page behind the last one has none.
  /// - A new course in the middle of the server's list takes the place in front of its neighbour, and that one is
  ///   dropped for it until the next pass, which brings it back by dropping the one before. So the hole moves forward by
  ///   one place with each pass, until it is at the beginning: for place 45 that takes 46 passes. Of several that are
  ///   missing, those whose place lies behind the end of the list that is so much shorter wait for those in front.
  /// - With `force` each look at the requests that wait counts a page of the first one as covered, and another request
  ///   that is made meanwhile causes such a look. The pages that it skips are not asked for.
  /// @param coursesBlock is called with (true, number of courses of the range that there are) on `queue()`, after which
  ///   `getRecordCourseWithIndex` gives them; (false, -1), at once and on the caller's thread, when the link is not
  ///   open, nobody is signed in, or the user has no classroom. A request that waits when the link is lost goes on
  ///   with the next one; one that waits or is being answered when the user or the classroom changes is dropped, its
  ///   callback never called. A page that was asked for before such a change is merged nowhere, whenever it comes.
  void getCoursesWithStartIndex_count_force_coursesBlock(std::uint64_t start, std::uint64_t count, bool force,
                                                         CoursesBlock coursesBlock);
  Course getRecordCourseWithIndex(std::uint64_t index);
  /// Does not wait for `dataSemaphore`.
  std::uint64_t getRecordCourseCount() const;
  /// Takes a changed record of a course of the cloud or local list into memory.
  void refreshRecordCourse(const Course& course);
  /// Removes a course from the cloud list and its record from memory and the disk. The server is not told. Always
  /// true.
  bool deleteCloudCourse(const Course& course);

  /// @}
  /// @name Live courses
  /// Courses whose `liveType` is neither 1 nor 3 are ignored, and so are those whose `status` is above 5, which has no list.
  /// @{

  /// Puts a course into the list of its `status`: by start time, ascending in status 1 and descending in all others,
  /// those without a start time first. It leaves the list that it was in before.
  void addLiveCourse(const Course& course);
  /// Writes a course that is in the list of its status.
  void refreshLiveCourse(const Course& course);
  /// Removes a course from all lists, the memory and the disk. Always true.
  bool deleteLiveCourse(const Course& course);
  /// The course, if it is in memory.
  Course getLiveCourseWithRoomID(std::int64_t roomID);
  /// Does not wait for `dataSemaphore`. 0 for a status that has no list.
  std::uint64_t getLiveCourseCountWithStatus(std::uint64_t status) const;
  /// The index of a course in the list of its status; -1 when it is not there.
  std::int64_t getIndexOfLiveCourse(const Course& course);
  Course getLiveCourseWithIndex_courseStatus(std::uint64_t index, std::uint64_t status);
  /// As `getCoursesWithStartIndex_count_force_coursesBlock`, for the list of a status. A status other than 1, 2 and 3
  /// is refused with (false, -1) too. No course is passed over, a page without courses changes nothing, and the places
  /// are the server's; a range can still wait without end, when courses stand in a page twice.
  ///
  /// A reply that arrives after the user's classroom has changed stops the loading of live pages for the rest of
  /// the process.
  void getLiveCoursesWithStartIndex_count_courseStatus_force_coursesBlock(std::uint64_t start,
                                                                          std::uint64_t count,
                                                                          std::uint64_t status, bool force,
                                                                          CoursesBlock coursesBlock);

  /// @}
  /// @name All courses
  /// @{

  /// Whether a course with the number of this one is in memory, among the local and the recorded ones. Does not wait
  /// for `dataSemaphore`.
  bool containCourse(const Course& course) const;
  /// Gets a live course anew from the server, and takes it into memory and onto the disk where it is in a list, unless
  /// the user or the classroom has changed meanwhile.
  /// @param handler is called with the course, or null: at once for a course that is not live or has no number and while
  ///   the link is not open, else on the main thread.
  void updateCourse_withHandler(const Course& course, UpdateHandler handler);

  /// Changes over to the catalogue of the current user and classroom, unless it is that already. Requests that
  /// wait are dropped and their callbacks never called. Runs by itself on `QXNotificationDidChangeUserInfo`.
  void reload();
  /// Removes from this device the local courses whose publishing the server confirms. Runs by itself on
  /// `QXNotificationPushOrvMessage`.
  void receivedWebsocketMessage(const Notification& notification);
  /// To be called, or registered, by the host when a course has been created ("roomID" in the user info): removes
  /// its local copy, and after a second loads 30 courses anew; whatever comes of that,
  /// `QXNotificationCourseListChanged` is then posted on the main thread.
  void courseCreateFinishedNotification(const Notification& notification);

  /// Passed on to the server with requests for live courses; false at first.
  bool containTest() const;
  void setContainTest(bool containTest);

  /// @}
  /// @name Steps of the above, for callers that hold `dataSemaphore`
  /// @{
  void refreshRecordCourse_keepFront(const Course& course, bool keepFront);
  void dequeueRecoedCourse_isLocal(const std::string& key, bool isLocal);
  void removeOverMuchRecordCourse();
  void refreshLiveCourse_key_keepFront(const Course& course, const OptionalString& key, bool keepFront);
  void removeOverMuchLiveCourse();
  /// @}
  /// @name Steps of the paging. They take the semaphores themselves.
  /// @{

  /// Answers the requests that can be answered and starts the loading of the next page that is wanted. Always false.
  bool checkCourseRequestPage_arriveLastPage_retryCount(std::int64_t page, bool arriveLastPage,
                                                        std::int64_t retryCount);
  /// Loads a page (from 1 on) unless one is being loaded.
  void loadRecordCourseWithPage_retryCount(std::int64_t page, std::int64_t retryCount);
  /// The same for live courses. Always true.
  bool checkLiveCourseRequestPage_courseStatus_arriveLastPage_retryCount(std::int64_t page,
                                                                         std::uint64_t status,
                                                                         bool arriveLastPage,
                                                                         std::int64_t retryCount);
  void loadLiveCourseWithPage_courseStatus_retryCount(std::int64_t page, std::uint64_t status,
                                                      std::int64_t retryCount);
  /// @}
  /// @name State. Getters give copies and do not wait for `dataSemaphore`; setters replace.
  /// @{
  Courses cloudCourseDict() const;
  void setCloudCourseDict(const Courses& courses);
  Courses localCourseDict() const;
  void setLocalCourseDict(const Courses& courses);
  Keys cloudCourseList() const;
  void setCloudCourseList(const Keys& keys);
  Keys localCourseList() const;
  void setLocalCourseList(const Keys& keys);
  /// The records in memory, the most recently used first: "l-" or "c-" and the key.
  Keys courseQueue() const;
  void setCourseQueue(const Keys& keys);
  /// The last course that the server has confirmed in the current pass over the cloud list.
  OptionalString lastValidCourse() const;
  void setLastValidCourse(OptionalString key);
  /// Taken while a page of recorded courses is being loaded.
  std::shared_ptr<Semaphore> reqRecordSemaphore() const;
  void setReqRecordSemaphore(std::shared_ptr<Semaphore> semaphore);
  std::shared_ptr<Semaphore> dataSemaphore() const;
  void setDataSemaphore(std::shared_ptr<Semaphore> semaphore);
  std::vector<CourseRequest> requestRecordList() const;
  void setRequestRecordList(std::vector<CourseRequest> requests);
  /// Where pages are dealt with and callbacks run.
  Executor& queue() const;
  void setQueue(Executor& queue);
  OptionalString localCourseFolder() const;
  void setLocalCourseFolder(OptionalString folder);
  OptionalString cloudCourseFolder() const;
  void setCloudCourseFolder(OptionalString folder);
  OptionalString localCourseListFile() const;
  void setLocalCourseListFile(OptionalString file);
  OptionalString cloudCourseListFile() const;
  void setCloudCourseListFile(OptionalString file);
  /// Number of the user whose catalogue is loaded; -1 before any, 0 for nobody.
  std::int64_t currentUserID() const;
  void setCurrentUserID(std::int64_t userID);
  OptionalString currentClassroomID() const;
  void setCurrentClassroomID(OptionalString classroomID);
  Courses liveCourseDict() const;
  void setLiveCourseDict(const Courses& courses);
  /// Six lists, by status.
  std::vector<Keys> liveCourseList() const;
  void setLiveCourseList(const std::vector<Keys>& lists);
  Keys liveCourseQueue() const;
  void setLiveCourseQueue(const Keys& keys);
  OptionalString lastValidLiveCourse() const;
  void setLastValidLiveCourse(OptionalString key);
  /// Taken while a page of live courses is being loaded.
  std::shared_ptr<Semaphore> reqLiveSemaphore() const;
  void setReqLiveSemaphore(std::shared_ptr<Semaphore> semaphore);
  std::vector<CourseRequest> requestLiveList() const;
  void setRequestLiveList(std::vector<CourseRequest> requests);
  OptionalString liveCourseFolder() const;
  void setLiveCourseFolder(OptionalString folder);
  OptionalString liveCourseListFile() const;
  void setLiveCourseListFile(OptionalString file);
  /// @}

 private:
  friend class CourseStore;

  QXCourseManager();
  ~QXCourseManager();

  // These take the catalogue themselves. A page is loaded for the catalogue that was opened as the `opened`th, or not.
  void loadRecordPage(std::int64_t page, std::int64_t retryCount, std::uint64_t opened);
  void loadLivePage(std::int64_t page, std::uint64_t status, std::int64_t retryCount, std::uint64_t opened);
  void retryRecordPage(const PageLoad& load);
  void mergeRecordPage(const PageLoad& load, const PageReply& reply, std::shared_ptr<UnmergedPage> unmerged);
  void checkAfterRecordPage(const PageLoad& load, bool lastPage);
  void retryLivePage(const PageLoad& load);
  void mergeLiveCoursePage(const PageLoad& load, const PageReply& reply,
                           std::shared_ptr<UnmergedPage> unmerged);
  void checkAfterLivePage(const PageLoad& load, bool lastPage);
  void takeUpdate(const Course& course, const json::value& data, std::uint64_t opened);

  std::unique_ptr<Catalogue> catalogue_;
};

}  // namespace orv
