#include "CourseRow.h"

#include "Widgets.h"

#include <orvnetwork_glib/Course.h>

#include <array>
#include <string>

namespace classroom_gtk {

namespace {

/// A field of the course that a row shows.
GtkExpression* field(const char* property) {
  GtkExpression* const course = gtk_property_expression_new(GTK_TYPE_LIST_ITEM, nullptr, "item");
  return gtk_property_expression_new(ORV_TYPE_COURSE, course, property);
}

/// The second line. Called by GTK whenever one of its parts has changed.
char* detailsOf(gpointer, GDateTime* start, const char* teacher, gint64 status, gboolean isLocal, gpointer) {
  std::string text;
  const auto add = [&text](const char* part) {
    if (part == nullptr || *part == '\0') return;
    if (!text.empty()) text += "  ·  ";
    text += part;
  };
  if (isLocal != FALSE) add("on this device");
  if (isLocal == FALSE && status == 2) add("on the air");
  if (start != nullptr) {
    char* const moment = g_date_time_format(start, "%e %b %Y %H:%M");
    add(moment);
    g_free(moment);
  }
  add(teacher);
  return g_strdup(text.c_str());
}

void makeRow(GtkSignalListItemFactory*, GtkListItem* item, gpointer) {
  GtkWidget* const row = makeBox(GTK_ORIENTATION_VERTICAL, 2, 8);
  gtk_widget_set_name(row, "row");
  GtkWidget* const title = makeLabel("", "heading", "");
  GtkWidget* const details = makeLabel("", "dim-label", "details");
  for (GtkWidget* const label : {title, details}) {
    gtk_label_set_wrap(GTK_LABEL(label), FALSE);
    gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
    gtk_box_append(GTK_BOX(row), label);
  }
  gtk_list_item_set_child(item, row);
  gtk_expression_bind(field("title"), title, "label", item);
  // The number of the room is the name of the title, for whoever looks at the widgets.
  gtk_expression_bind(field("room-id"), title, "name", item);
  std::array parts{field("start-time"), field("teacher"), field("status"), field("local")};
  gtk_expression_bind(gtk_cclosure_expression_new(G_TYPE_STRING, nullptr, static_cast<guint>(parts.size()),
                                                  parts.data(), G_CALLBACK(detailsOf), nullptr, nullptr),
                      details, "label", item);
}

}  // namespace

GtkListItemFactory* newCourseRows() {
  GtkListItemFactory* const rows = gtk_signal_list_item_factory_new();
  g_signal_connect(rows, "setup", G_CALLBACK(makeRow), nullptr);
  return rows;
}

}  // namespace classroom_gtk
