#pragma once

#include "Printing.h"

#include <gtest/gtest.h>
#include <orvnetwork_qt/CourseListModel.h>

#include <QObject>
#include <QString>
#include <QStringList>

namespace orv {

/// Follows a model as views do, by its signals alone, and looks after each that this is possible: every row that it holds
/// was there when a signal told of it, and none is another than the model has.
class ModelView : public QObject {
 public:
  explicit ModelView(qt::CourseListModel& model) : model_(model) {
    for (int row = 0; row < model.rowCount(); ++row) rows_.append(shown(row));
    using Model = qt::CourseListModel;
    connect(&model, &Model::rowsInserted, this, [this](const QModelIndex&, int first, int last) {
      for (int row = first; row <= last; ++row) rows_.insert(row, shown(row));
      compare("rows came");
    });
    connect(&model, &Model::rowsRemoved, this, [this](const QModelIndex&, int first, int last) {
      rows_.remove(first, last - first + 1);
      compare("rows went");
    });
    connect(&model, &Model::rowsMoved, this,
            [this](const QModelIndex&, int first, int last, const QModelIndex&, int to) {
              EXPECT_EQ(first, last) << "one row moves at a time";
              rows_.move(first, to > first ? to - 1 : to);
              ++moves;
              compare("a row moved");
            });
    connect(&model, &Model::layoutChanged, this, [this] {
      rows_.clear();
      for (int row = 0; row < model_.rowCount(); ++row) rows_.append(shown(row));
      ++layouts;
    });
    connect(&model, &Model::dataChanged, this, [this](const QModelIndex& first, const QModelIndex& last) {
      for (int row = first.row(); row <= last.row(); ++row) rows_[row] = shown(row);
      ++updates;
    });
    connect(&model, &Model::modelReset, this, [] { ADD_FAILURE() << "the model was reset"; });
    connect(&model, &Model::countChanged, this, [this] { ++counts; });
  }

  /// Whether it shows what the model has, contents too.
  void compareAll() const {
    QStringList all;
    for (int row = 0; row < model_.rowCount(); ++row) all.append(shown(row));
    EXPECT_EQ(rows_, all);
  }
  const QStringList& rows() const { return rows_; }

  int moves = 0, layouts = 0, updates = 0, counts = 0;

 private:
  /// A row as a person sees it.
  QString shown(int row) const {
    const QModelIndex index = model_.index(row);
    return QStringLiteral("%1 %2 %3")
        .arg(index.data(qt::CourseListModel::RoomIDRole).toLongLong())
        .arg(index.data().toString())
        .arg(index.data(qt::CourseListModel::StatusRole).toInt());
  }
  static QString keyOf(const QString& row) { return row.section(QLatin1Char(' '), 0, 0); }
  /// Contents may be told later, by `dataChanged`.
  void compare(const char* after) const {
    ASSERT_EQ(rows_.size(), model_.rowCount()) << after;
    for (int row = 0; row < model_.rowCount(); ++row) {
      ASSERT_EQ(keyOf(rows_[row]), keyOf(shown(row))) << after << ", row " << row;
    }
  }

  qt::CourseListModel& model_;
  QStringList rows_;
};

}  // namespace orv
