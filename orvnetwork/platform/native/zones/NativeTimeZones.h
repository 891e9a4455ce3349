#pragma once

#include <orvnetwork/data/TimeZone.h>
#include <orvnetwork/platform/native/zones/ZoneFile.h>

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace orv {

/// Where the system keeps its time zones.
struct ZonePlaces {
  std::string localTime = "/etc/localtime";       ///< the file of the zone in use, or a link to it
  std::string nameOfLocalTime = "/etc/timezone";  ///< the name of that zone
  std::string folder = "/usr/share/zoneinfo";     ///< the collection, unless `TZDIR` names another
};

/// The time zones of the system's zone files, as the C library reads them. What was read is kept, with the state of its
/// file, and read anew when that is another one. Any thread.
///
/// One thing is not as in the C library: there, a zone of "right/" makes a system's clock one that counts leap seconds;
/// here it is the zone without that word. The clocks that systems have count none.
class NativeTimeZones {
 public:
  /// The one of the process; never destroyed.
  static NativeTimeZones& instance();

  explicit NativeTimeZones(ZonePlaces places = {}) : places_(std::move(places)) {}

  /// Gets a line once for each zone that cannot be used. `Console::write` as a rule, which this does not know, since the
  /// console's stamps are local times themselves.
  using Tell = void (*)(std::string_view line);

  /// The zone in use: that of the variable `TZ`, else that of the file for local time, else UTC. The variable holds the
  /// name of a zone file or its path, with or without a colon before it, or a rule; "" is UTC, and so is what is none of
  /// these, which is told. Read at each call.
  TimeZonePtr inUse(Tell tell);

  /// See `findTimeZone` and `timeZoneNamed`.
  TimeZonePtr find(const std::string& name);
  TimeZonePtr named(const std::string& name, Tell tell);

 private:
  /// What is looked for.
  struct Wanted {
    enum class Kind { Default, Variable, Name };
    Kind kind;
    std::string_view text;
    std::string_view folder;
  };
  /// What was found.
  struct Found {
    Wanted::Kind kind;
    std::string text;
    std::string folder;
    std::string path;
    std::optional<FileState> state;
    TimeZonePtr zone;     ///< null: the text means nothing
    std::string problem;  ///< why it means nothing
    mutable std::atomic<bool> isTold = false;

    bool answers(const Wanted& wanted) const {
      return kind == wanted.kind && text == wanted.text && folder == wanted.folder;
    }
  };
  using FoundPtr = std::shared_ptr<const Found>;

  FoundPtr lookUp(const Wanted& wanted);
  TimeZonePtr lookUpOrTell(const Wanted& wanted, Tell tell);
  FoundPtr kept(const Wanted& wanted);
  void keep(FoundPtr found);
  FoundPtr read(const Wanted& wanted) const;
  void preferPlainFile(ZoneFile& file, const Found& found, const std::string& name) const;
  std::string folderFor(std::string_view variable) const;
  std::string pathOf(const Wanted& wanted) const;
  std::string nameOf(const Found& found) const;

  const ZonePlaces places_;
  std::mutex mutex_;
  std::list<FoundPtr> kept_;  // the last one used comes first
};

}  // namespace orv
