#pragma once

#include "CourseView.h"

#include <QString>
#include <QWidget>
#include <array>

namespace classroom {

/// The live courses: to come, on the air, over.
class LiveView final : public QWidget {
 public:
  LiveView();
  void search(const QString& text);
  void refresh();
  /// The list of a status, 1 to 3.
  CourseView& of(int status) { return *views_[static_cast<std::size_t>(status - 1)]; }

 private:
  std::array<CourseView*, 3> views_;
};

}  // namespace classroom
