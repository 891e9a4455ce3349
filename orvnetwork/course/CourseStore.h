#pragma once

#include <orvnetwork/course/CourseChange.h>
#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>
#include <orvnetwork/platform/NotificationCenter.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orv {

struct Catalogue;

/// The catalogue of `QXCourseManager` for those who keep a view of it: what is listed, copies of the records, what
/// changes, and a way to put in what they have read from the server by themselves.
///
///     CourseStore& store = CourseStore::getInstance();
///     const ObserverToken seen = store.observe([this](const CourseChange& change) { note(change); });
///     const auto listed = store.listed({CourseListKind::Local});            // on a worker
///     for (const std::string& key : listed.keys) show(store.copyOf({CourseListKind::Local}, key));
///
/// Operations may be called on any thread, but not on the main one where they say that they wait.
class ORV_EXPORT CourseStore final {
 public:
  using Copy = std::shared_ptr<const OrvCourseModel>;

  /// The store of the one manager. Never destroyed.
  static CourseStore& getInstance();
  CourseStore(const CourseStore&) = delete;
  CourseStore& operator=(const CourseStore&) = delete;

  /// The number of the catalogue that is in use: every change of the user or the classroom opens another. Never waits.
  std::uint64_t opened() const;
  /// Whether the catalogue in use is that of this user and classroom. Never waits.
  bool belongsTo(std::int64_t userID, const OptionalString& classroom) const;
  /// Runs `work` where the catalogue in use is that of this user and classroom, and lets no other one be opened
  /// meanwhile: for several operations of the manager that belong together. Whoever changes the user waits for its end, on
  /// the main thread as a rule, so let it be short, and let it wait for nobody. Other programs that are changing the local
  /// courses are waited for before it begins, for 2 s at most, while the user may be changed. Waits itself for a change that
  /// is under way. Not from inside `work`, nor from an observer.
  /// @return whether it was run
  bool whileOpenFor(std::int64_t userID, const OptionalString& classroom, const std::function<void()>& work);

  /// Runs `work` where the catalogue in use is that of this user and classroom, and says whether it still was in the end:
  /// for what only reads, however long that takes, since nobody waits for it.
  /// @return false: it was not run, or what it has read may be of two catalogues
  bool readFor(std::int64_t userID, const OptionalString& classroom, const std::function<void()>& work);

  /// Calls `callback` with what is done to the catalogue, by whomever, from now on. It is called on the thread that does
  /// it, before the catalogue is let go: it must be quick and call nothing here.
  [[nodiscard]] ObserverToken observe(std::function<void(const CourseChange&)> callback);

  struct Listed {
    /// In which catalogue.
    std::uint64_t opened = 0;
    std::vector<std::string> keys{};
  };
  /// The keys of a list. Waits for the catalogue, and for the disk when its lists have not been read yet.
  Listed listed(const CourseListName& list) const;
  /// A copy of a record, from memory or from its file; null when neither has it. Nothing is brought into memory. Waits for
  /// the catalogue and the disk.
  Copy copyOf(const CourseListName& list, const std::string& key) const;

  /// A course that the server lists.
  struct Read {
    std::int64_t roomID = 0;
    /// What the record becomes; null for a recorded course that is passed over, since it is withdrawn or not published.
    Copy course{};
    /// Whether the catalogue has another record, or none.
    bool isNews = false;
  };
  /// What an item of the server's list makes of the catalogue's record; that stays as it is. Waits for the catalogue and
  /// the disk.
  Read read(const CourseListName& list, const json::object& item) const;

  /// Puts in what the server lists, from the first course of the list on: the records, and the list, which begins with
  /// these courses afterwards. Courses that stood in front of the last of them and are not among them are dropped,
  /// with their records; those behind it stay, unless the server has no more. A live course leaves the list of the
  /// status that it had before. Local courses are never put in. Where nothing is different nothing is told. Waits for the catalogue and the disk, and lets others
  /// have it in between.
  /// @param opened the catalogue that they were read for
  /// @param courses those with a record; others are passed over
  /// @param isWhole whether the server's list ends with them
  /// @param by goes into the `CourseChange`
  /// @return false, and little or nothing done, when another catalogue is in use meanwhile
  bool takeOver(const CourseListName& list, std::uint64_t opened, const std::vector<Read>& courses,
                bool isWhole, const void* by);

 private:
  explicit CourseStore(Catalogue& catalogue) : catalogue_(catalogue) {}

  Catalogue& catalogue_;
};

}  // namespace orv
