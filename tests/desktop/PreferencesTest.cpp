#include "Desktop.h"

#include <examples/classroom/Preferences.h>
#include <examples/classroom/SettingsDialog.h>

#include <QComboBox>
#include <vector>

namespace classroom::preferences_test {
namespace {

class DesktopPreferences : public Desktop {
 protected:
  static void expectSame(const Preferences& seen, const Preferences& wanted) {
    EXPECT_EQ(seen.server, wanted.server);
    EXPECT_EQ(seen.proxy, wanted.proxy);
    EXPECT_EQ(seen.language, wanted.language);
    EXPECT_EQ(seen.shade, wanted.shade);
  }
  /// Some of everything that can be set.
  std::vector<Preferences> all() const {
    const QString url = preferences.server;
    return {{url, {}, Language::English, Shade::System},
            {url, QStringLiteral("environment"), Language::Chinese, Shade::Light},
            {url, QStringLiteral("socks5://127.0.0.1:1080"), Language::English, Shade::Dark}};
  }
};

TEST_F(DesktopPreferences, AreReadAsTheyWereWritten) {
  for (const Preferences& wanted : all()) {
    wanted.write(settingsFile());
    expectSame(Preferences::read(settingsFile()), wanted);
  }
}

TEST_F(DesktopPreferences, AreWhatTheSystemSaysWhereNothingWasWritten) {
  expectSame(Preferences::read(settingsFile()), Preferences{});
}

TEST_F(DesktopPreferences, StandInTheDialogue) {
  for (const Preferences& wanted : all()) {
    const SettingsDialog dialog(wanted, nullptr);
    expectSame(dialog.preferences(), wanted);
    const auto* const proxy = dialog.findChild<QLineEdit*>(QStringLiteral("proxy"));
    EXPECT_EQ(proxy->isEnabled(), wanted.proxy.contains("://"));
  }
}

TEST_F(DesktopPreferences, AreNotTakenOverWithAServerThatTheClientWouldNotTake) {
  for (const char* address :
       {"", "nowhere", "http://host/", "ws://", "ws://host:0/", "wss://课堂.example/link", "ws://a b/"}) {
    Preferences made = preferences;
    made.server = QString::fromUtf8(address);
    EXPECT_NE(made.complaint(), "") << address;
  }
  for (const char* address : {"ws://127.0.0.1:9000", "wss://class.example/link", "WSS://[::1]:443/"}) {
    Preferences made = preferences;
    made.server = QString::fromUtf8(address);
    EXPECT_EQ(made.complaint(), "") << address;
  }
}

TEST_F(DesktopPreferences, AreNotTakenOverWithAProxyThatIsNotNamed) {
  SettingsDialog dialog(preferences, nullptr);
  dialog.findChild<QComboBox*>(QStringLiteral("way"))->setCurrentIndex(2);
  dialog.accept();
  EXPECT_NE(dialog.result(), QDialog::Accepted);
  EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("settingsError"))->text(), "Which proxy?");
  dialog.findChild<QComboBox*>(QStringLiteral("way"))->setCurrentIndex(1);
  dialog.accept();
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

}  // namespace
}  // namespace classroom::preferences_test
