#pragma once

#include <orvnetwork/course/detail/Catalogue.h>

#include <cstdint>
#include <memory>
#include <optional>

namespace orv {

/// One change of the local courses by this program, while other programs with the same home change nothing. It begins
/// by taking over what they have added and deleted since the last turn, and whoever makes it holds the catalogue.
///
/// When another program keeps the lock too long the change is made in memory and on the records; the list is written
/// as soon as it can be, by a worker or with the next change.
class LocalTurn {
 public:
  explicit LocalTurn(Catalogue& catalogue);
  ~LocalTurn();
  LocalTurn(const LocalTurn&) = delete;
  LocalTurn& operator=(const LocalTurn&) = delete;

  /// The first number, counted from `from` on, that no course of the list has, and that no other program has got from
  /// here for a course that is not in the list yet. This program may get it again; others may not, until it has ended
  /// or changes over to another catalogue.
  std::int64_t freeNumber(std::int64_t from) const;

 private:
  Catalogue& catalogue_;
  const std::shared_ptr<KeyFile> file_;
};

/// Turns of this program that are begun before the catalogue is held, so that nobody who waits for the catalogue, as
/// whoever changes the user does, waits for another program too. Waits for that, and for the disk.
class LocalTurnsAhead {
 public:
  explicit LocalTurnsAhead(Catalogue& catalogue);
  ~LocalTurnsAhead();
  LocalTurnsAhead(const LocalTurnsAhead&) = delete;
  LocalTurnsAhead& operator=(const LocalTurnsAhead&) = delete;

  /// Whether they are those of the catalogue that is in use; for who lets no other one be opened.
  bool areOfThePresent() const { return catalogue_.opened() == opened_; }

 private:
  Catalogue& catalogue_;
  const std::uint64_t opened_;
  std::shared_ptr<KeyFile> file_;
};

/// A turn of who holds nothing yet: another program is waited for first, and then the catalogue, which is held until the
/// end. So nobody who looks a course up waits for another program.
class LocalChange {
 public:
  explicit LocalChange(Catalogue& catalogue);
  LocalChange(const LocalChange&) = delete;
  LocalChange& operator=(const LocalChange&) = delete;

  /// See `LocalTurn`.
  std::int64_t freeNumber(std::int64_t from) const { return turn_->freeNumber(from); }

 private:
  std::optional<LocalTurnsAhead> ahead_;
  std::optional<CatalogueLock> held_;
  std::optional<LocalTurn> turn_;
};

}  // namespace orv
