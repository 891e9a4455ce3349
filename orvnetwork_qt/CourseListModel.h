#pragma once

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/CourseListChange.h>
#include <orvnetwork/client/CourseRows.h>
#include <orvnetwork/client/Subscription.h>
#include <orvnetwork/data/Export.h>

#include <QAbstractListModel>
#include <QByteArray>
#include <QHash>
#include <QModelIndex>
#include <QObject>
#include <QString>
#include <QVariant>
#include <vector>

namespace orv::qt {

/// A list of courses as a model, for `QListView`, QML and everything else that takes one.
///
///     auto* model = new orv::qt::CourseListModel(orv::CourseList::recorded(), window);
///     view->setModel(model);                                   // loads as it is scrolled
///
/// The rows are those of the `CourseList`: they begin with what is stored, a view that wants more has them loaded
/// (`canFetchMore`, `fetchMore`), and each change comes as the rows that went, came, moved or have another content, so that
/// selection, focus and place stay with their courses. Where many rows stand elsewhere the layout changes in one step.
///
/// A view asks by itself only while nothing is under way, before the end and after no failure; then a person presses
/// something that calls `loadMore`, or the list goes on by itself when the link or the session is back.
///
/// After the `Client`, and gone before it. The application's thread. It may be destroyed at any time, also from inside a slot
/// of a signal that tells what has happened, such as `rowsInserted`, and from none of those that tell what is about to.
class ORV_EXPORT CourseListModel : public QAbstractListModel {
  Q_OBJECT
  /// How many rows there are.
  Q_PROPERTY(int count READ count NOTIFY countChanged)
  Q_PROPERTY(Phase phase READ phase NOTIFY phaseChanged)
  Q_PROPERTY(bool loading READ isLoading NOTIFY phaseChanged)
  Q_PROPERTY(bool atEnd READ atEnd NOTIFY phaseChanged)
  /// Why the last load failed, for people; empty when it did not.
  Q_PROPERTY(QString errorText READ errorText NOTIFY phaseChanged)
  /// The kind of that failure by its name in `CourseListErrorKind`, such as "NoLink"; empty when there was none.
  Q_PROPERTY(QString errorKind READ errorKind NOTIFY phaseChanged)

 public:
  /// `CourseListPhase`, for QML.
  enum Phase { Idle, Loading, End, Failed };
  Q_ENUM(Phase)
  /// What a row can be asked for. In QML the names are those here, with a small first letter and without "Role".
  enum Role {
    RoomIDRole = Qt::UserRole + 1,  ///< the course's number
    TitleRole,                      ///< also as `Qt::DisplayRole`
    TeacherRole,                    ///< the teacher's name, or else the owner's
    IntroRole,
    CoverUrlRole,
    StatusRole,     ///< 1: to come; 2: on the air; 3: over
    LiveTypeRole,   ///< 1 and 3: live; 2: recorded
    StartTimeRole,  ///< QDateTime in local time; invalid where none is set
    AddTimeRole,    ///< when it was made, likewise
    ViewCountRole,
    EnrolmentCountRole,
    PriceRole,
    PublishStatusRole,  ///< 1: published; 99: new, and on this device only
    CloudRoomIDRole,    ///< the room of a local course that has been announced; 0: it has none
    LocalRole,          ///< whether it was recorded on this device
    ReplayUrlRole,
  };
  Q_ENUM(Role)

  /// @param list becomes the model's
  explicit CourseListModel(CourseList list, QObject* parent = nullptr);
  ~CourseListModel() override;

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QHash<int, QByteArray> roleNames() const override;
  bool canFetchMore(const QModelIndex& parent) const override;
  void fetchMore(const QModelIndex& parent) override;

  int count() const { return rowCount(); }
  Phase phase() const;
  bool isLoading() const { return list_.isLoading(); }
  bool atEnd() const { return list_.atEnd(); }
  QString errorText() const;
  QString errorKind() const;

  /// The course of a row as the library has it; null when there is no such row.
  CourseRows::Row course(int row) const;
  /// Where the course of a room stands; -1 when it is not in the list.
  Q_INVOKABLE int rowOf(qlonglong roomID) const;
  /// `CourseList::loadMore` and `CourseList::refresh`: what a person asks for.
  Q_INVOKABLE void loadMore();
  Q_INVOKABLE void refresh();

 Q_SIGNALS:
  void countChanged();
  /// Phase or failure are others. Not told for the beginning of a load inside the call that begins it, but soon after.
  void phaseChanged();

 private:
  void take(const CourseListChange& change);
  bool takeRows(const CourseListChange& change);
  void removeRange(CourseListRange range);
  void insertRange(const CourseListChange& change, CourseListRange range);
  void moveRow(CourseListMove move);
  void layOutAnew(const CourseListChange& change);
  void update(const CourseListChange& change, CourseListRange range);

  CourseList list_;
  std::vector<CourseRows::Row> rows_;  // between two steps of a change they are those of neither end
  Subscription changed_;
};

}  // namespace orv::qt
