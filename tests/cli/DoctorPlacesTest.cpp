// What doctor makes of this machine, and how it tells what it has found.

#include "DoctorRows.h"
#include <cli/ExitCode.h>
#include <cli/doctor/PlaceVerdicts.h>
#include <cli/doctor/Report.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace orv::test::doctor_places_test {
namespace {

using namespace cli::doctor;

using Stored = SignInFacts::Stored;

SignInFacts replied(std::optional<std::int64_t> code, bool takenOver = false) {
  SignInFacts facts;
  facts.stored = Stored::Somebody;
  facts.userID = "42";
  facts.code = code;
  facts.isTakenOver = takenOver;
  return facts;
}

SignInFacts stored(Stored how) {
  SignInFacts facts;
  facts.stored = how;
  return facts;
}

HomeFacts home(const std::function<void(HomeFacts&)>& change) {
  HomeFacts facts;
  facts.folder = "/home/ann/Documents";
  facts.user = "ann";
  facts.freeBytes = std::uint64_t{12} << 30;
  change(facts);
  return facts;
}

INSTANTIATE_TEST_SUITE_P(
    Places, DoctorVerdict,
    ::testing::Values(
        place("Network", judgeNetwork, NetworkFacts{{"wlan0"}, {"wlan0"}, false}, "good", Verdict::Ok,
              "route over wlan0, IPv4 and IPv6"),
        place("NetworkIPv4", judgeNetwork, NetworkFacts{{"eth0", "wlan0"}, {}, false}, "good", Verdict::Ok,
              "route over eth0, wlan0, IPv4"),
        place("NoRoute", judgeNetwork, NetworkFacts{}, "noRoute", Verdict::Fail, "no route"),
        place("NoRouteNeeded", judgeNetwork, NetworkFacts{{}, {}, true}, "good", Verdict::Ok,
              "none is needed"),
        place("Session", judgeSession, replied(0), "good", Verdict::Ok, "user 42, good"),
        place("Nobody", judgeSession, stored(Stored::Nobody), "nobody", Verdict::Skipped,
              "nobody is signed in"),
        place("DamagedUser", judgeSession, stored(Stored::Damaged), "damaged", Verdict::Fail, "is damaged"),
        place("UnreadableUser", judgeSession, stored(Stored::Unreadable), "unreadable", Verdict::Fail,
              "cannot be read"),
        place("SessionOver", judgeSession, replied(2), "over", Verdict::Fail, "does not know the session"),
        place("SessionOverToo", judgeSession, replied(-999999), "over", Verdict::Fail,
              "does not know the session"),
        place("SessionRefused", judgeSession, replied(7), "refused", Verdict::Fail, "refused with code 7"),
        place("TakenOver", judgeSession, replied(0, true), "takenOver", Verdict::Fail,
              "taken over by another device"),
        place("NoReply", judgeSession, replied({}), "noReply", Verdict::Fail, "answers PING, but not this"),
        place("Home", judgeHome, home([](auto&) {}), "good", Verdict::Ok, "rights 0700, 12 GB left"),
        place("NoHomeYet", judgeHome, home([](auto& f) { f.exists = false; }), "good", Verdict::Ok,
              "is not there yet"),
        place("NotWritable", judgeHome, home([](auto& f) { f.isWritable = false; }), "notWritable",
              Verdict::Fail, "/home/ann/Documents is not writable by ann"),
        place("LittleRoom", judgeHome, home([](auto& f) { f.freeBytes = 40u << 20; }), "littleRoom",
              Verdict::Warn, "40 MB left"),
        place("Full", judgeHome, home([](auto& f) { f.freeBytes = 1u << 20; }), "full", Verdict::Fail,
              "the disk is full"),
        place("OpenForWriting", judgeHome, home([](auto& f) {
                f.writtenByOthers = {"/home/ann", "/b"};
              }),
              "openForWriting", Verdict::Warn, "other users can change what is in /home/ann, /b"),
        place("OpenForReading", judgeHome, home([](auto& f) { f.readByOthers = {"/home/ann/userInfo"}; }),
              "openForReading", Verdict::Warn, "other users can read /home/ann/userInfo"),
        place("SetAside", judgeHome, home([](auto& f) {
                f.setAside = {"a.damaged", "b.damaged"};
              }),
              "setAside", Verdict::Warn, "2 damaged files were set aside: a.damaged, b.damaged"),
        place("UsedByOthers", judgeHome, home([](auto& f) { f.usedBy = {"4711 (classroom)"}; }),
              "usedByOthers", Verdict::Warn, "used by process 4711 (classroom)"),
        place("Log", judgeLog, LogFacts{"/l", 1'468'006, 1}, "good", Verdict::Ok, "1.4 MB in 1 file"),
        place("NoLog", judgeLog, LogFacts{}, "good", Verdict::Ok, "none yet"),
        place("LargeLog", judgeLog, LogFacts{"/l", 50u << 20, 12}, "large", Verdict::Warn,
              "50 MB in 12 files")),
    rowName);

TEST(DoctorSession, HasTheTimeOfItsReplyWhateverThatSays) {
  for (SignInFacts facts : {replied(0), replied(2), replied(7), replied(0, true), replied({})}) {
    facts.milliseconds = 7;
    EXPECT_EQ(judgeSession(facts).milliseconds, 7) << judgeSession(facts).code;
  }
}

TEST(DoctorReport, TellsDetailsWhereSomethingIsWrongAndCounts) {
  std::vector<Finding> findings = {
      good("network", "route over eth0", {{"ipv4", {"eth0", "eth1"}}}),
      failed("connect", "refused", "refused\x1b[31m\nby it", "check the port", {{"n", 1}}),
      skippedAfter("tls", "connect"), warned("log", "large", "big", "look")};
  EXPECT_EQ(reportOf(findings, {}),
            "[✓] network  route over eth0\n"
            "[✗] connect  refused\\u001b[31m by it\n"
            "    → check the port\n"
            "      n: 1\n"
            "[-] tls      because connect failed\n"
            "[!] log      big\n"
            "    → look\n"
            "4 checks: 1 good, 1 warning, 1 failed, 1 skipped\n");
  findings.resize(1);
  findings[0].milliseconds = 12;
  EXPECT_EQ(reportOf(findings, {.isVerbose = true, .isUtf8 = false}),
            "[+] network  route over eth0 (12 ms)\n"
            "      ipv4: eth0\n"
            "      ipv4: eth1\n"
            "1 check: 1 good\n");
}

TEST(DoctorReport, PlainLettersAreForTerminalsWithoutUtf8) {
  const auto with = [](const char* all, const char* lang) {
    ::setenv("LC_ALL", all, 1);
    ::setenv("LC_CTYPE", "", 1);
    ::setenv("LANG", lang, 1);
    return isUtf8Locale();
  };
  EXPECT_TRUE(with("", "de_DE.UTF-8"));
  EXPECT_TRUE(with("C.utf8", "C"));
  EXPECT_FALSE(with("C", "de_DE.UTF-8"));
  EXPECT_FALSE(with("", ""));
}

TEST(DoctorFinding, LeadsToTheExitCodeOfItsKind) {
  using cli::ExitCode;
  EXPECT_EQ(exitCodeOf(failed("connect", "refused", "", "")), ExitCode::NoReply);
  EXPECT_EQ(exitCodeOf(failed("session", "over", "", "")), ExitCode::Refused);
  EXPECT_EQ(exitCodeOf(failed("home", "full", "", "")), ExitCode::WrongUse);
  EXPECT_EQ(exitCodeOf(warned("tls", "none", "", "")), ExitCode::Success);
  EXPECT_EQ(exitCodeOf(skipped("tls", "none", "")), ExitCode::Success);
}

}  // namespace
}  // namespace orv::test::doctor_places_test
