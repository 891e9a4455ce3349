#include <orvnetwork/client/CourseList.h>
#include <orvnetwork/testing/ConnectPlan.h>

#include "Printing.h"
#include "SchoolFixture.h"

#include <orvnetwork_qt/CourseListModel.h>
#include <orvnetwork_qt/LinkObject.h>
#include <orvnetwork_qt/SessionObject.h>

#include <QByteArray>
#include <QJSValue>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlError>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace orv::qml_test {
namespace {

/// What a page would bind to, without anything that is drawn.
constexpr const char* kPage = R"(
import QtQml
import QtQml.Models
import OrvNetwork

QtObject {
  id: page
  property bool bannerShown: !link.up
  property string sentence: link.sentence
  property bool mayTryNow: link.state === Link.Waiting
  property string nick: session.user.present ? session.user.nick : ""
  property bool courses: session.state === Session.Good
  property bool spins: model.loading
  property int count: model.count
  property var ended: []
  property var titles: []

  function signIn(mobile, password) { session.signIn(mobile, password) }
  function tryNow() { link.tryNow() }
  function more() { model.loadMore() }
  function refresh() { model.refresh() }

  property var ends: Connections {
    target: session
    function onSignInFinished(outcome, reason, code) { page.ended.push(outcome === Session.SignedIn) }
  }
  property var rows: Instantiator {
    model: page.context
    delegate: QtObject {
      required property string title
      required property double roomID
      required property bool local
    }
    onObjectAdded: (index, row) => page.titles.splice(index, 0, row.title)
    onObjectRemoved: (index, row) => page.titles.splice(index, 1)
  }
  property var context: model
}
)";

/// The items of the document's page stand among these, which have of Qt Quick's what the page uses.
constexpr const char* kShownPage = R"(
import QtQml
import OrvNetwork

QtObject {
  id: shown
  component Text: QtObject { property bool visible: true; property string text }
  component Button: QtObject { property bool visible: true; property string text; signal clicked }
  component Items: QtObject { default property list<QtObject> all }
  function visible(index) { return items.all[index].visible }
  function text(index) { return items.all[index].text }
  function click(index) { items.all[index].clicked() }
  property var items: Items {
%1  }
}
)";

/// The piece of QML in the document on Qt.
std::string shownInDocument() {
  std::ifstream file(std::string(ORV_TEST_SOURCE_DIR) + "/../docs/qt.md");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::string begin = "```qml\n";
  const auto from = text.find(begin);
  const auto to = text.find("```\n", from == std::string::npos ? from : from + begin.size());
  return to == std::string::npos ? std::string() : text.substr(from + begin.size(), to - from - begin.size());
}

class Qml : public SchoolFixture {
 protected:
  Qml() {
    const QString reason = QStringLiteral("the program makes it");
    qmlRegisterUncreatableType<qt::LinkObject>("OrvNetwork", 1, 0, "Link", reason);
    qmlRegisterUncreatableType<qt::SessionObject>("OrvNetwork", 1, 0, "Session", reason);
    engine.rootContext()->setContextProperty(QStringLiteral("link"), &link);
    engine.rootContext()->setContextProperty(QStringLiteral("session"), &session);
    engine.rootContext()->setContextProperty(QStringLiteral("model"), &model);
    QObject::connect(&engine, &QQmlEngine::warnings, [this](const QList<QQmlError>& told) {
      for (const QQmlError& warning : told) warnings << warning.toString();
    });
    page = make(kPage);
  }
  ~Qml() override { EXPECT_EQ(warnings.join(QLatin1Char('\n')), QString()); }

  std::unique_ptr<QObject> make(const QByteArray& source) {
    QQmlComponent component(&engine);
    component.setData(source, QUrl(QStringLiteral("page.qml")));
    std::unique_ptr<QObject> made(component.create());
    EXPECT_NE(made, nullptr) << component.errorString().toStdString();
    settle();
    return made;
  }

  QVariant read(const char* property) const { return page->property(property); }
  QStringList titles() const { return read("titles").value<QJSValue>().toVariant().toStringList(); }

  qt::LinkObject link{*client};
  qt::SessionObject session{*client};
  qt::CourseListModel model{CourseList::recorded()};
  QStringList warnings;
  QQmlEngine engine;
  std::unique_ptr<QObject> page;
};

TEST_F(Qml, APageSignsInAndFollowsUserAndLink) {
  ASSERT_NE(page, nullptr);
  EXPECT_FALSE(read("bannerShown").toBool());
  EXPECT_EQ(read("sentence").toString(), link.sentence());
  EXPECT_EQ(read("nick").toString(), "");
  EXPECT_FALSE(read("courses").toBool());
  ASSERT_TRUE(QMetaObject::invokeMethod(page.get(), "signIn", Q_ARG(QVariant, "13800000001"),
                                        Q_ARG(QVariant, "secret")));
  settle();
  runFor(5);
  EXPECT_EQ(read("nick").toString(), "Ann");
  EXPECT_TRUE(read("courses").toBool());
  EXPECT_EQ(read("ended").value<QJSValue>().toVariant().toList(), QVariantList{true});

  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  ASSERT_TRUE(waitsForLong());
  EXPECT_TRUE(read("bannerShown").toBool());
  EXPECT_TRUE(read("mayTryNow").toBool());
  EXPECT_EQ(read("sentence").toString(), link.sentence());
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  ASSERT_TRUE(QMetaObject::invokeMethod(page.get(), "tryNow"));
  runFor(3);
  EXPECT_FALSE(read("bannerShown").toBool());
}

TEST_F(Qml, AListHasARowForEachCourse) {
  ASSERT_NE(page, nullptr);
  const auto rooms = school.addCourses(3, {{"liveType", 2}, {"status", 5}});
  school.changeCourse(rooms[0], {{"title", "Algebra"}});
  school.changeCourse(rooms[1], {{"title", "Botany"}});
  school.changeCourse(rooms[2], {{"title", "代数"}});
  school.setListOrder({rooms[0], rooms[1], rooms[2]});
  signIn();
  ASSERT_TRUE(QMetaObject::invokeMethod(page.get(), "more"));
  settle();
  EXPECT_FALSE(read("spins").toBool());
  EXPECT_EQ(read("count").toInt(), 3);
  EXPECT_EQ(titles(), (QStringList{"Algebra", "Botany", "代数"}));
  school.removeCourse(rooms[1]);
  ASSERT_TRUE(QMetaObject::invokeMethod(page.get(), "refresh"));
  EXPECT_TRUE(model.isLoading());
  settle();
  EXPECT_EQ(titles(), (QStringList{"Algebra", "代数"}));
}

TEST_F(Qml, ThePageOfTheDocumentShowsLinkAndUser) {
  const std::string piece = shownInDocument();
  ASSERT_NE(piece, "");
  const auto shown = make(QByteArray(kShownPage).replace("%1", QByteArray::fromStdString(piece)));
  ASSERT_NE(shown, nullptr);
  const auto ask = [&shown](const char* function, int index) {
    QVariant answer;
    EXPECT_TRUE(QMetaObject::invokeMethod(shown.get(), function, Q_RETURN_ARG(QVariant, answer),
                                          Q_ARG(QVariant, index)));
    return answer;
  };
  const int sentence = 0, button = 1, nick = 2;
  EXPECT_FALSE(ask("visible", sentence).toBool());
  EXPECT_FALSE(ask("visible", button).toBool());
  EXPECT_EQ(ask("text", nick).toString(), "");
  signIn();
  settle();
  EXPECT_EQ(ask("text", nick).toString(), "Ann");

  platform.network().setDefaultPlan(testing::ConnectPlan::refuse());
  platform.server().cutAll();
  ASSERT_TRUE(waitsForLong());
  EXPECT_TRUE(ask("visible", sentence).toBool());
  EXPECT_EQ(ask("text", sentence).toString(), link.sentence());
  EXPECT_TRUE(ask("visible", button).toBool());
  platform.network().setDefaultPlan(testing::ConnectPlan::accept());
  ask("click", button);
  runFor(3);
  EXPECT_TRUE(link.isUp());
  EXPECT_FALSE(ask("visible", sentence).toBool());
}

}  // namespace
}  // namespace orv::qml_test
