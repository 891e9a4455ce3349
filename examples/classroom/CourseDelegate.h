#pragma once

#include <QModelIndex>
#include <QPainter>
#include <QString>
#include <QStyleOptionViewItem>
#include <QStyledItemDelegate>

namespace classroom {

/// Paints a course as a card: a cover, the title, who and when, and what is to be said of its state.
class CourseDelegate final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  /// The second line of a card.
  static QString details(const QModelIndex& index);
  /// The badge of a card; empty for none.
  static QString badge(const QModelIndex& index);
};

}  // namespace classroom
