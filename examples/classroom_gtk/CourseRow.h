#pragma once

#include <gtk/gtk.h>

namespace classroom_gtk {

/// Makes the rows of a list of courses: a title, and below it who and when. They follow their course by themselves.
/// @return with one reference, the caller's
GtkListItemFactory* newCourseRows();

}  // namespace classroom_gtk
