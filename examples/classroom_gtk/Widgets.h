#pragma once

#include <gtk/gtk.h>

namespace classroom_gtk {

/// A label that breaks its lines, with a name by which tests find it.
/// @param look a style class of GTK's, such as "dim-label"
GtkWidget* makeLabel(const char* text, const char* look, const char* name);
GtkWidget* makeButton(const char* text, const char* name);
/// A column or a row with a margin around it.
GtkWidget* makeBox(GtkOrientation orientation, int spacing, int margin);
/// A bar above the content: a text, and a button that does something about it. Hidden at first.
GtkWidget* makeBar(GtkWidget* label, GtkWidget* button, const char* name);

}  // namespace classroom_gtk
