#include "CourseDelegate.h"

#include "Language.h"
#include "Look.h"

#include <orvnetwork_qt/CourseListModel.h>

#include <QDateTime>
#include <QFontMetrics>
#include <QStringList>

namespace classroom {

using orv::qt::CourseListModel;

namespace {

constexpr int kHeight = 84, kMargin = 4, kCover = 60;

QColor badgeColour(const QModelIndex& index) {
  if (index.data(CourseListModel::LocalRole).toBool()) return look().warning;
  return index.data(CourseListModel::StatusRole).toInt() == 2 ? look().danger : look().good;
}

void paintCover(QPainter& painter, const QRect& place, const QModelIndex& index) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(coverColour(index.data(CourseListModel::RoomIDRole).toLongLong()));
  painter.drawRoundedRect(place, 10, 10);
  QFont font = painter.font();
  font.setPointSizeF(20);
  font.setBold(true);
  painter.setFont(font);
  painter.setPen(Qt::white);
  painter.drawText(place, Qt::AlignCenter, index.data().toString().trimmed().left(1).toUpper());
}

/// Returns where it begins.
int paintBadge(QPainter& painter, const QRect& card, const QString& text, QColor colour) {
  QFont font = painter.font();
  font.setPointSizeF(9);
  painter.setFont(font);
  const int width = QFontMetrics(font).horizontalAdvance(text) + 20;
  const QRect place(card.right() - width - 14, card.top() + 14, width, 24);
  painter.setPen(Qt::NoPen);
  QColor ground = colour;
  ground.setAlpha(36);
  painter.setBrush(ground);
  painter.drawRoundedRect(place, 12, 12);
  painter.setPen(colour);
  painter.drawText(place, Qt::AlignCenter, text);
  return place.left();
}

}  // namespace

QString CourseDelegate::badge(const QModelIndex& index) {
  if (index.data(CourseListModel::LocalRole).toBool()) {
    return index.data(CourseListModel::CloudRoomIDRole).toLongLong() > 0 ? say("announced", "已公布")
                                                                         : say("on this device", "仅在本机");
  }
  if (index.data(CourseListModel::LiveTypeRole).toInt() != 2) {
    if (index.data(CourseListModel::StatusRole).toInt() == 2) return say("● on the air", "● 直播中");
    return {};
  }
  return index.data(CourseListModel::PublishStatusRole).toInt() == 3 ? say("being made", "制作中")
                                                                     : QString();
}

QString CourseDelegate::details(const QModelIndex& index) {
  QStringList parts;
  const bool isLocal = index.data(CourseListModel::LocalRole).toBool();
  const bool isLive = !isLocal && index.data(CourseListModel::LiveTypeRole).toInt() != 2;
  const QDateTime start = index.data(CourseListModel::StartTimeRole).toDateTime();
  const QDateTime made = index.data(CourseListModel::AddTimeRole).toDateTime();
  if (isLive) parts << (start.isValid() ? sayMoment(start) : say("no time yet", "时间未定"));
  const QString teacher = index.data(CourseListModel::TeacherRole).toString();
  if (!teacher.isEmpty()) parts << teacher;
  if (isLocal && made.isValid()) parts << say("made %1", "创建于 %1").arg(sayMoment(made));
  if (!isLive && !isLocal && made.isValid()) parts << sayDay(made);
  const qlonglong enrolled = index.data(CourseListModel::EnrolmentCountRole).toLongLong();
  if (isLive && enrolled > 0) parts << say("%1 enrolled", "%1 人报名").arg(enrolled);
  const qlonglong views = index.data(CourseListModel::ViewCountRole).toLongLong();
  if (!isLive && views > 0) parts << say("%1 views", "%1 次观看").arg(views);
  return parts.join(QStringLiteral("  ·  "));
}

void CourseDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const {
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  const QRect card = option.rect.adjusted(2, kMargin, -2, -kMargin);
  const bool isSelected = option.state.testFlag(QStyle::State_Selected);
  const bool isPointedAt = option.state.testFlag(QStyle::State_MouseOver);
  painter->setPen(QPen(isSelected || isPointedAt ? look().accent : look().line, 1));
  painter->setBrush(isSelected ? look().selection : look().card);
  painter->drawRoundedRect(QRectF(card).adjusted(0.5, 0.5, -0.5, -0.5), 12, 12);

  const QFont font = option.font;
  painter->setFont(font);
  paintCover(*painter, QRect(card.left() + 8, card.top() + 8, kCover, kCover), index);
  int right = card.right() - 14;
  if (const QString text = badge(index); !text.isEmpty()) {
    painter->setFont(font);
    right = paintBadge(*painter, card, text, badgeColour(index)) - 10;
  }

  const int left = card.left() + kCover + 24;
  QFont title = font;
  title.setPointSizeF(12);
  title.setBold(true);
  painter->setFont(title);
  painter->setPen(look().text);
  const QRect titlePlace(left, card.top() + 10, right - left, 30);
  painter->drawText(
      titlePlace, Qt::AlignVCenter | Qt::AlignLeft,
      QFontMetrics(title).elidedText(index.data().toString(), Qt::ElideRight, titlePlace.width()));
  painter->setFont(font);
  painter->setPen(look().faint);
  const QRect detailsPlace(left, card.top() + 40, card.right() - 14 - left, 24);
  painter->drawText(detailsPlace, Qt::AlignVCenter | Qt::AlignLeft,
                    QFontMetrics(font).elidedText(details(index), Qt::ElideRight, detailsPlace.width()));
  painter->restore();
}

QSize CourseDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
  return {200, kHeight};
}

}  // namespace classroom
