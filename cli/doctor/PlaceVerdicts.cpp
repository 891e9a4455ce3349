#include "cli/doctor/PlaceVerdicts.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>

namespace orv::cli::doctor {

namespace {

constexpr double kMebibyte = 1024.0 * 1024.0;
constexpr std::uint64_t kLittleRoom = 100u << 20, kNoRoom = 10u << 20;
/// What the log holds without a flood of lines, with some room.
constexpr std::uint64_t kUsualLog = 40u << 20;

std::string sizeText(std::uint64_t bytes) {
  const double size = static_cast<double>(bytes) / kMebibyte;
  std::array<char, 48> text{};
  if (size >= 1024) {
    std::snprintf(text.data(), text.size(), "%.0f GB", size / 1024);
  } else {
    std::snprintf(text.data(), text.size(), size < 10 ? "%.1f MB" : "%.0f MB", size);
  }
  return text.data();
}

std::string listOf(const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 5;
  std::string list;
  for (std::size_t i = 0; i < names.size() && i < kMost; ++i) list += (i > 0 ? ", " : "") + names[i];
  if (names.size() > kMost) list += " and " + std::to_string(names.size() - kMost) + " more";
  return list;
}

json::array arrayOf(const std::vector<std::string>& names) {
  json::array array;
  for (const std::string& name : names) array.emplace_back(name);
  return array;
}

json::object homeFacts(const HomeFacts& facts) {
  std::array<char, 16> mode{};
  std::snprintf(mode.data(), mode.size(), "%04o", facts.mode & 07777U);
  json::object shown{{"folder", facts.folder}, {"exists", facts.exists}, {"mode", mode.data()}};
  shown.emplace("writtenByOthers", arrayOf(facts.writtenByOthers));
  shown.emplace("readByOthers", arrayOf(facts.readByOthers));
  shown.emplace("freeBytes", facts.freeBytes);
  shown.emplace("setAside", arrayOf(facts.setAside));
  shown.emplace("usedBy", arrayOf(facts.usedBy));
  return shown;
}

}  // namespace

Finding judgeNetwork(const NetworkFacts& facts) {
  std::vector<std::string> interfaces = facts.narrow;
  for (const std::string& name : facts.wide) {
    if (std::ranges::find(interfaces, name) == interfaces.end()) interfaces.push_back(name);
  }
  const json::object shown{{"ipv4", arrayOf(facts.narrow)}, {"ipv6", arrayOf(facts.wide)}};
  if (interfaces.empty() && facts.isServerHere) {
    return good("network", "no route, and none is needed: the server is on this machine", shown);
  }
  if (interfaces.empty() && facts.isServerReached) {
    return good("network", "no route to the world, but the server is reached", shown);
  }
  if (interfaces.empty()) {
    return failed("network", "noRoute", "no route leads out of this machine", "connect to a network", shown);
  }
  const std::string families = facts.narrow.empty() ? "IPv6" : facts.wide.empty() ? "IPv4" : "IPv4 and IPv6";
  return good("network", "route over " + listOf(interfaces) + ", " + families, shown);
}

Finding judgeSession(const SignInFacts& facts) {
  constexpr std::int64_t kUnknownToken = 2, kOver = -999999;
  const std::string user = "user " + facts.userID;
  const json::object shown{{"user", facts.userID},
                           {"ret", facts.code ? json::value(*facts.code) : json::value()}};
  const std::string words = facts.words.empty() ? "" : ": " + facts.words;
  Finding finding = good("session", user + ", good");
  switch (facts.stored) {
    case SignInFacts::Stored::Nobody:
      return skipped("session", "nobody", "nobody is signed in");
    case SignInFacts::Stored::Damaged:
      return failed("session", "damaged", "the file of the user is damaged, so nobody is signed in",
                    "sign in again: `orv login`");
    case SignInFacts::Stored::Unreadable:
      return failed("session", "unreadable", "the file of the user cannot be read" + words,
                    "give the file to the user who runs the program");
    case SignInFacts::Stored::Somebody:
      break;
  }
  if (facts.isTakenOver) {
    finding = failed("session", "takenOver", user + ": taken over by another device",
                     "sign in again here, which signs the other device out");
  } else if (!facts.code) {
    finding = failed("session", "noReply", user + ": the server answers PING, but not this",
                     "try again later; tell those who run the server");
  } else if (*facts.code == kUnknownToken || *facts.code == kOver) {
    finding = failed("session", "over", user + ": the server does not know the session any more" + words,
                     "sign in again: `orv login`");
  } else if (*facts.code != 0) {
    finding = failed("session", "refused",
                     user + ": refused with code " + std::to_string(*facts.code) + words, "sign in again");
  }
  finding.facts = shown;
  finding.milliseconds = facts.milliseconds;
  return finding;
}

Finding judgeHome(const HomeFacts& facts) {
  const json::object shown = homeFacts(facts);
  if (!facts.isWritable) {
    return failed("home", "notWritable", facts.folder + " is not writable by " + facts.user,
                  "give the folder to " + facts.user + ", or choose another one: --home DIR", shown);
  }
  const std::string room = sizeText(facts.freeBytes) + " left";
  if (facts.freeBytes < kNoRoom) {
    return failed("home", "full", "the disk is full: " + room, "make room on the disk", shown);
  }
  if (!facts.writtenByOthers.empty()) {
    return warned("home", "openForWriting",
                  "other users can change what is in " + listOf(facts.writtenByOthers) +
                      ", and so the user who is signed in here",
                  "close it to them: chmod go-w " + listOf(facts.writtenByOthers), shown);
  }
  if (!facts.readByOthers.empty()) {
    return warned("home", "openForReading",
                  "other users can read " + listOf(facts.readByOthers) + ", where sessions and courses are",
                  "close it to them: chmod go-rwx " + listOf(facts.readByOthers), shown);
  }
  if (facts.freeBytes < kLittleRoom) {
    return warned("home", "littleRoom", room + " on the disk", "make room on the disk", shown);
  }
  if (!facts.setAside.empty()) {
    const auto count = static_cast<std::int64_t>(facts.setAside.size());
    return warned(
        "home", "setAside",
        counted(count, "damaged file was", "damaged files were") + " set aside: " + listOf(facts.setAside),
        "keep them for those who help; what they held is made anew or was lost. Check the disk", shown);
  }
  if (!facts.usedBy.empty()) {
    return warned("home", "usedByOthers", "used by process " + listOf(facts.usedBy),
                  "that is allowed; to rule it out, end the other program and try again", shown);
  }
  if (!facts.exists) return good("home", facts.folder + " is not there yet, " + room, shown);
  std::array<char, 16> mode{};
  std::snprintf(mode.data(), mode.size(), "%04o", facts.mode & 07777U);
  return good("home", facts.folder + ", rights " + mode.data() + ", " + room, shown);
}

Finding judgeLog(const LogFacts& facts) {
  const json::object shown{{"folder", facts.folder}, {"bytes", facts.bytes}, {"files", facts.files}};
  const std::string size =
      sizeText(facts.bytes) + " in " + counted(static_cast<std::int64_t>(facts.files), "file");
  if (facts.bytes <= kUsualLog) return good("log", facts.files == 0 ? "none yet" : size, shown);
  return warned("log", "large",
                size + ", and " + sizeText(kUsualLog) + " at most is usual: something floods it",
                "look what its last lines repeat: `orv log --since 10m`", shown);
}

}  // namespace orv::cli::doctor
