// What holds for each row of the tables of verdicts: what is told, what to do about it, and the time of the step.

#include <orvnetwork/platform/ConnectReport.h>

#include "DoctorRows.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

namespace orv::test::doctor_verdict_test {
namespace {

/// A part of what to do about each verdict that something is wrong.
const std::map<std::string, std::string>& advice() {
  static const std::map<std::string, std::string> all{
      {"network noRoute", "connect to a network"},
      {"proxy noAnswer", "check its address and port"},
      {"proxy refusesUser", "put them into its address: http://user:password@"},
      {"proxy refusesServer", "ask those who run the proxy to allow it"},
      {"proxy cannotReach", "check the address of the server"},
      {"proxy notUnderstood", "check the kind of the proxy"},
      {"proxy badSettings", "write it as http://host:port"},
      {"name noSuchName", "check the spelling"},
      {"name nameServerSilent", "try another network, or ask those who run this one"},
      {"name nameServerFails", "try again in a minute"},
      {"name failed", "try again, or another network"},
      {"connect refused", "whether the server runs"},
      {"connect noAnswer", "whether this one lets port 443 out"},
      {"connect unreachable", "a VPN"},
      {"connect failed", "try another network"},
      {"connect wideIsDead", "have IPv6 mended or switched off"},
      {"tls none", "use wss://"},
      {"tls expiresSoon", "the server needs a new certificate before that"},
      {"tls expired", "check this machine's clock; else the server needs"},
      {"tls notYetValid", "check this machine's clock"},
      {"tls unknownIssuer", "give its root: --root FILE"},
      {"tls wrongName", "check the server's name"},
      {"tls weak", "the server needs a new certificate"},
      {"tls pinMismatch", "whose pin belongs into the settings"},
      {"tls badSettings", "check the files that the settings name"},
      {"tls clientCertificate", "ask those who run the server for one"},
      {"tls failed", "something else than TLS may be spoken there"},
      {"tls noAnswer", "a firewall may look into TLS"},
      {"upgrade page", "sign in to the network"},
      {"upgrade redirected", "sign in to the network; check the address"},
      {"upgrade refused", "check the address"},
      {"upgrade noSuchPath", "check the path"},
      {"upgrade serverAway", "try again later"},
      {"upgrade notUnderstood", "speaks no good WebSocket"},
      {"upgrade noAnswer", "something else than a WebSocket server may listen there"},
      {"ping noPong", "knows no WebSocket"},
      {"ping closed", "ends WebSocket links"},
      {"clock off", "have it set by the network"},
      {"clock wrong", "have it set by the network"},
      {"session damaged", "sign in again: `orv login`"},
      {"session unreadable", "give the file to the user"},
      {"session over", "sign in again: `orv login`"},
      {"session refused", "sign in again"},
      {"session takenOver", "sign in again here"},
      {"session noReply", "try again later"},
      {"home notWritable", "give the folder to ann, or choose another one: --home DIR"},
      {"home full", "make room"},
      {"home littleRoom", "make room"},
      {"home openForWriting", "chmod go-w /home/ann"},
      {"home openForReading", "chmod go-rwx /home/ann/userInfo"},
      {"home setAside", "keep them for those who help"},
      {"home usedByOthers", "end the other program"},
      {"log large", "`orv log --since 10m`"},
  };
  return all;
}

/// How long the step has taken that a check looks at.
double tookOf(const std::string& check, const WayFacts& facts) {
  const ConnectReport& report = facts.report;
  const auto span = check == "proxy"     ? report.proxy
                    : check == "name"    ? report.name
                    : check == "connect" ? report.connect
                    : check == "tls"     ? report.tls
                    : check == "upgrade" ? report.upgrade
                    : check == "ping"    ? facts.pong
                                         : std::nullopt;
  return span.value_or(Seconds(0)).count() * 1000;
}

TEST_P(DoctorVerdict, IsThis) {
  const Row& row = GetParam();
  const Finding finding = row.judge();
  EXPECT_EQ(finding.code, row.code) << finding.text;
  EXPECT_EQ(finding.verdict, row.verdict) << finding.text;
  EXPECT_NE(finding.text.find(row.text), std::string::npos) << finding.text;
  const bool isWrong = finding.verdict == Verdict::Warn || finding.verdict == Verdict::Fail;
  EXPECT_EQ(finding.todo.empty(), !isWrong) << "whoever is told that something is wrong is told what to do";
  if (isWrong) {
    const auto found = advice().find(finding.check + " " + finding.code);
    ASSERT_NE(found, advice().end()) << finding.check << " " << finding.code;
    EXPECT_NE(finding.todo.find(found->second), std::string::npos) << finding.todo;
  }
  const bool isTimed = row.facts && finding.code != "none" && finding.code != "notAsked";
  if (isTimed) {
    EXPECT_DOUBLE_EQ(finding.milliseconds, tookOf(finding.check, *row.facts));
  }
  EXPECT_FALSE(finding.text.ends_with("."));
}

}  // namespace
}  // namespace orv::test::doctor_verdict_test
