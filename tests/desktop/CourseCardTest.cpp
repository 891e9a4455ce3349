#include "Desktop.h"

#include <examples/classroom/CourseDelegate.h>
#include <examples/classroom/Language.h>
#include <orvnetwork_qt/CourseListModel.h>

#include <QDate>
#include <QDateTime>
#include <QImage>
#include <QPainter>
#include <QStandardItemModel>
#include <QStyleOptionViewItem>
#include <QTime>
#include <QVariant>

namespace classroom::course_card_test {
namespace {

using Model = orv::qt::CourseListModel;

/// One course as a list shows it.
class CourseCard : public Desktop {
 protected:
  CourseCard() {
    setLanguage(Language::English);
    applyLook(Shade::Light);
    courses.appendRow(new QStandardItem);
    set(Model::RoomIDRole, 70001);
    set(Model::LiveTypeRole, 2);
    set(Qt::DisplayRole, QStringLiteral("Algebra"));
  }
  QModelIndex index() const { return courses.index(0, 0); }
  void set(int role, const QVariant& value) { courses.setData(index(), value, role); }
  QString details() const { return CourseDelegate::details(index()); }
  QString badge() const { return CourseDelegate::badge(index()); }
  QImage drawn(QStyle::State state = QStyle::State_Enabled) const {
    QImage image(600, 84, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QStyleOptionViewItem option;
    option.rect = image.rect();
    option.state = state;
    option.font = QApplication::font();
    CourseDelegate().paint(&painter, option, index());
    return image;
  }

  QStandardItemModel courses;
};

TEST_F(CourseCard, TimesStandInTheUsersZoneAndLanguage) {
  const QDateTime start(QDate(2100, 1, 5), QTime(14, 30));
  set(Model::LiveTypeRole, 1);
  EXPECT_EQ(details(), "no time yet");
  set(Model::StartTimeRole, QDateTime::fromSecsSinceEpoch(start.toSecsSinceEpoch(), Qt::UTC));
  set(Model::TeacherRole, QStringLiteral("Lin"));
  set(Model::EnrolmentCountRole, 12);
  EXPECT_EQ(details(), "5 Jan 2100 14:30  ·  Lin  ·  12 enrolled");
  setLanguage(Language::Chinese);
  EXPECT_EQ(details(), "2100年1月5日 14:30  ·  Lin  ·  12 人报名");
}

TEST_F(CourseCard, ARecordedCourseSaysWhenItWasMadeAndHowOftenItWasSeen) {
  set(Model::AddTimeRole, QDateTime(QDate(2001, 2, 3), QTime(4, 5)));
  set(Model::ViewCountRole, 7);
  EXPECT_EQ(details(), "3 Feb 2001  ·  7 views");
}

TEST_F(CourseCard, ABadgeSaysHowTheCourseStands) {
  EXPECT_EQ(badge(), "");
  set(Model::PublishStatusRole, 3);
  EXPECT_EQ(badge(), "being made");
  set(Model::LiveTypeRole, 1);
  EXPECT_EQ(badge(), "");
  set(Model::StatusRole, 2);
  EXPECT_EQ(badge(), "● on the air");
  set(Model::LocalRole, true);
  EXPECT_EQ(badge(), "on this device");
  set(Model::CloudRoomIDRole, 70002);
  EXPECT_EQ(badge(), "announced");
}

TEST_F(CourseCard, EachThingThatIsSaidIsDrawn) {
  QImage before = drawn();
  EXPECT_EQ(drawn(), before);
  const auto changes = [&](const char* what) {
    const QImage now = drawn();
    EXPECT_NE(now, before) << what;
    before = now;
  };
  // The first letter, which stands on the cover, stays.
  set(Qt::DisplayRole, QStringLiteral("Arithmetic"));
  changes("the title");
  set(Model::TeacherRole, QStringLiteral("Lin"));
  changes("the details");
  set(Model::PublishStatusRole, 3);
  changes("the badge");
  set(Model::RoomIDRole, 70002);
  changes("the cover's colour");
  EXPECT_NE(drawn(QStyle::State_Enabled | QStyle::State_Selected), before);
  EXPECT_NE(drawn(QStyle::State_Enabled | QStyle::State_MouseOver), before);
}

}  // namespace
}  // namespace classroom::course_card_test
