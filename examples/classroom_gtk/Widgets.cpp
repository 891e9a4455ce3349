#include "Widgets.h"

namespace classroom_gtk {

GtkWidget* makeLabel(const char* text, const char* look, const char* name) {
  GtkWidget* const label = gtk_label_new(text);
  gtk_label_set_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_xalign(GTK_LABEL(label), 0);
  if (*look != '\0') gtk_widget_add_css_class(label, look);
  gtk_widget_set_name(label, name);
  return label;
}

GtkWidget* makeButton(const char* text, const char* name) {
  GtkWidget* const button = gtk_button_new_with_label(text);
  gtk_widget_set_name(button, name);
  return button;
}

GtkWidget* makeBox(GtkOrientation orientation, int spacing, int margin) {
  GtkWidget* const box = gtk_box_new(orientation, spacing);
  gtk_widget_set_margin_top(box, margin);
  gtk_widget_set_margin_bottom(box, margin);
  gtk_widget_set_margin_start(box, margin);
  gtk_widget_set_margin_end(box, margin);
  return box;
}

GtkWidget* makeBar(GtkWidget* label, GtkWidget* button, const char* name) {
  GtkWidget* const bar = gtk_info_bar_new();
  gtk_info_bar_set_message_type(GTK_INFO_BAR(bar), GTK_MESSAGE_WARNING);
  gtk_widget_set_name(bar, name);
  gtk_widget_set_hexpand(label, TRUE);
  gtk_info_bar_add_child(GTK_INFO_BAR(bar), label);
  gtk_info_bar_add_child(GTK_INFO_BAR(bar), button);
  gtk_widget_set_visible(bar, FALSE);
  return bar;
}

}  // namespace classroom_gtk
