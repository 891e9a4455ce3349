#pragma once

#include <orvnetwork_qt/CourseListModel.h>
#include <orvnetwork_qt/LinkObject.h>
#include <orvnetwork_qt/SessionObject.h>

#include <QString>

namespace classroom {

/// Why there is no link, and what is being done about it.
struct LinkExplanation {
  QString what, then;
  /// Whether a person has to look.
  bool isGrave = false;
};
/// What went wrong with a link, by its name in `LinkTrouble`.
QString explainTrouble(const QString& name);
LinkExplanation explainLink(const orv::qt::LinkObject& link);
/// Why a sign-in has failed.
QString explainSignIn(orv::qt::SessionObject::Outcome outcome, const QString& reason, int code);
/// Why courses did not come.
QString explainList(const orv::qt::CourseListModel& model);

}  // namespace classroom
