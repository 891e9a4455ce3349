#include "orvnetwork_qt/CourseListModel.h"

#include <orvnetwork/client/CourseListState.h>
#include <orvnetwork/course/OrvCourseModel.h>

#include <orvnetwork_qt/Convert.h>

#include <QPointer>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

namespace orv::qt {

namespace {

static_assert(static_cast<int>(CourseListPhase::Idle) == CourseListModel::Idle);
static_assert(static_cast<int>(CourseListPhase::Loading) == CourseListModel::Loading);
static_assert(static_cast<int>(CourseListPhase::End) == CourseListModel::End);
static_assert(static_cast<int>(CourseListPhase::Failed) == CourseListModel::Failed);

int toInt(std::size_t number) {
  return static_cast<int>(number);
}
std::ptrdiff_t toOffset(std::size_t number) {
  return static_cast<std::ptrdiff_t>(number);
}

QVariant numberOf(std::int64_t number) {
  return QVariant::fromValue(static_cast<qlonglong>(number));
}

QVariant valueOf(const OrvCourseModel& course, int role) {
  switch (role) {
    case Qt::DisplayRole:
    case CourseListModel::TitleRole:
      return text(course.title.get());
    case CourseListModel::RoomIDRole:
      return numberOf(course.roomID);
    case CourseListModel::TeacherRole: {
      const QString teacher = text(course.teacher.get());
      return teacher.isEmpty() ? text(course.nick.get()) : teacher;
    }
    case CourseListModel::IntroRole:
      return text(course.intro.get());
    case CourseListModel::CoverUrlRole:
      return text(course.coverUrl.get());
    case CourseListModel::StatusRole:
      return static_cast<int>(course.status.get());
    case CourseListModel::LiveTypeRole:
      return static_cast<int>(course.liveType.get());
    case CourseListModel::StartTimeRole:
      return moment(course.startTimeEnable.get() != 0 ? course.startTime.get() : 0);
    case CourseListModel::AddTimeRole:
      return moment(course.addtime.get());
    case CourseListModel::ViewCountRole:
      return numberOf(course.viewCnt);
    case CourseListModel::EnrolmentCountRole:
      return numberOf(course.enrolmentCnt);
    case CourseListModel::PriceRole:
      return course.coursePrice.get();
    case CourseListModel::PublishStatusRole:
      return static_cast<int>(course.publishStatus.get());
    case CourseListModel::CloudRoomIDRole:
      return numberOf(course.orv_cloudRoomID);
    case CourseListModel::LocalRole:
      return course.orv_local.get();
    case CourseListModel::ReplayUrlRole:
      return text(course.videoUrl.get());
    default:
      return {};
  }
}

}  // namespace

CourseListModel::CourseListModel(CourseList list, QObject* parent)
    : QAbstractListModel(parent), list_(std::move(list)) {
  const CourseRowsPointer rows = list_.rows();
  rows_.assign(rows->all().begin(), rows->all().end());
  changed_ = list_.onChanged([this](const CourseListChange& change) { take(change); });
}

CourseListModel::~CourseListModel() = default;

int CourseListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : toInt(rows_.size());
}

QVariant CourseListModel::data(const QModelIndex& index, int role) const {
  const CourseRows::Row row = index.isValid() ? course(index.row()) : nullptr;
  return row ? valueOf(*row, role) : QVariant();
}

QHash<int, QByteArray> CourseListModel::roleNames() const {
  return {{Qt::DisplayRole, "display"},
          {RoomIDRole, "roomID"},
          {TitleRole, "title"},
          {TeacherRole, "teacher"},
          {IntroRole, "intro"},
          {CoverUrlRole, "coverUrl"},
          {StatusRole, "status"},
          {LiveTypeRole, "liveType"},
          {StartTimeRole, "startTime"},
          {AddTimeRole, "addTime"},
          {ViewCountRole, "viewCount"},
          {EnrolmentCountRole, "enrolmentCount"},
          {PriceRole, "price"},
          {PublishStatusRole, "publishStatus"},
          {CloudRoomIDRole, "cloudRoomID"},
          {LocalRole, "local"},
          {ReplayUrlRole, "replayUrl"}};
}

bool CourseListModel::canFetchMore(const QModelIndex& parent) const {
  return !parent.isValid() && list_.canLoadMore();
}

void CourseListModel::fetchMore(const QModelIndex& parent) {
  if (canFetchMore(parent)) list_.loadMore();
}

CourseListModel::Phase CourseListModel::phase() const {
  return static_cast<Phase>(list_.state().phase);
}

QString CourseListModel::errorText() const {
  const auto& error = list_.lastError();
  return error ? text(std::string_view(error->text)) : QString();
}

QString CourseListModel::errorKind() const {
  const auto& error = list_.lastError();
  return error ? text(nameOf(error->kind)) : QString();
}

CourseRows::Row CourseListModel::course(int row) const {
  return row >= 0 && row < toInt(rows_.size()) ? rows_[static_cast<std::size_t>(row)] : nullptr;
}

int CourseListModel::rowOf(qlonglong roomID) const {
  const auto found =
      std::ranges::find_if(rows_, [&](const auto& row) { return row->roomID.get() == roomID; });
  return found == rows_.end() ? -1 : static_cast<int>(found - rows_.begin());
}

void CourseListModel::loadMore() {
  list_.loadMore();
}

void CourseListModel::refresh() {
  list_.refresh();
}

// After each signal the model may be gone.
void CourseListModel::take(const CourseListChange& change) {
  const QPointer<CourseListModel> self(this);
  const std::size_t before = rows_.size();
  if (change.changesRows() && !takeRows(change)) return;
  if (rows_.size() != before) Q_EMIT countChanged();
  if (self && change.state != change.stateBefore) Q_EMIT phaseChanged();
}

bool CourseListModel::takeRows(const CourseListChange& change) {
  const QPointer<CourseListModel> self(this);
  for (const CourseListRange range : change.removed) {
    removeRange(range);
    if (!self) return false;
  }
  for (const CourseListRange range : change.inserted) {
    insertRange(change, range);
    if (!self) return false;
  }
  for (const CourseListMove move : change.moves) {
    moveRow(move);
    if (!self) return false;
  }
  if (change.reordered) layOutAnew(change);
  for (const CourseListRange range : change.updated) {
    if (!self) return false;
    update(change, range);
  }
  return !self.isNull();
}

void CourseListModel::removeRange(CourseListRange range) {
  beginRemoveRows({}, toInt(range.first), toInt(range.first + range.count - 1));
  const auto first = rows_.begin() + toOffset(range.first);
  rows_.erase(first, first + toOffset(range.count));
  endRemoveRows();
}

void CourseListModel::insertRange(const CourseListChange& change, CourseListRange range) {
  beginInsertRows({}, toInt(range.first), toInt(range.first + range.count - 1));
  const auto come = change.after->all().subspan(range.first, range.count);
  rows_.insert(rows_.begin() + toOffset(range.first), come.begin(), come.end());
  endInsertRows();
}

void CourseListModel::moveRow(CourseListMove move) {
  // Qt names the row in front of which it is put, as the rows stand before.
  const std::size_t inFrontOf = move.to > move.from ? move.to + 1 : move.to;
  if (!beginMoveRows({}, toInt(move.from), toInt(move.from), {}, toInt(inFrontOf))) return;
  const auto from = rows_.begin() + toOffset(move.from), to = rows_.begin() + toOffset(move.to);
  if (from < to) {
    std::rotate(from, from + 1, to + 1);
  } else {
    std::rotate(to, from, from + 1);
  }
  endMoveRows();
}

void CourseListModel::layOutAnew(const CourseListChange& change) {
  Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
  const QModelIndexList before = persistentIndexList();
  QModelIndexList after;
  after.reserve(before.size());
  for (const QModelIndex& index : before) {
    const auto place = change.after->indexOf(rows_[static_cast<std::size_t>(index.row())]->roomID);
    after.append(place ? createIndex(toInt(*place), index.column()) : QModelIndex());
  }
  // What has another content as well is shown with it at once.
  const auto rows = change.after->all();
  rows_.assign(rows.begin(), rows.end());
  changePersistentIndexList(before, after);
  Q_EMIT layoutChanged({}, VerticalSortHint);
}

void CourseListModel::update(const CourseListChange& change, CourseListRange range) {
  const auto come = change.after->all().subspan(range.first, range.count);
  std::ranges::copy(come, rows_.begin() + toOffset(range.first));
  Q_EMIT dataChanged(index(toInt(range.first)), index(toInt(range.first + range.count - 1)));
}

}  // namespace orv::qt
