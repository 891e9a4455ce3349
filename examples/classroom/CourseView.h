#pragma once

#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/client/CourseRows.h>

#include "FoundCourses.h"

#include <orvnetwork_qt/CourseListModel.h>

#include <QLabel>
#include <QListView>
#include <QPushButton>
#include <QString>
#include <QWidget>

namespace classroom {

/// A list of courses that fills as it is scrolled, with a line below that says what it is about.
class CourseView final : public QWidget {
 public:
  /// @param name by which tests find the list
  /// @param nothing what stands there when there is no course
  CourseView(orv::CourseList list, const char* name, QString nothing);

  /// Shows those courses only whose title or teacher has the text; empty: all.
  void search(const QString& text);
  void refresh();
  /// The course that is selected; null when none is.
  orv::CourseRows::Row selected() const;
  orv::qt::CourseListModel& model() { return *model_; }
  QListView& list() { return *list_; }

 private:
  void showState();
  void fill();

  orv::qt::CourseListModel* const model_;
  FoundCourses* const found_;
  QListView* const list_;
  QLabel* const state_;
  QPushButton* const again_;
  const QString nothing_;
};

}  // namespace classroom
