#include <tests/integration/LoadFigures.h>

#include <algorithm>

namespace orv::test {

void LoadFigures::add(const LoadFigures& other) {
  answered += other.answered;
  pushes += other.pushes;
  reconnects += other.reconnects;
  garbageFrames += other.garbageFrames;
  lossesSeen += other.lossesSeen;
  unanswered += other.unanswered;
  for (const auto& [text, count] : other.problems) problems[text] += count;
  for (const auto& [room, ids] : other.posted) {
    posted[room].insert(posted[room].end(), ids.begin(), ids.end());
  }
  for (const auto& [room, ids] : other.seen) seen[room].insert(seen[room].end(), ids.begin(), ids.end());
  for (std::size_t i = 0; i < times.size(); ++i) times[i] += other.times[i];
}

double LoadFigures::milliseconds(double part) const {
  double left = part * static_cast<double>(answered);
  std::size_t bucket = 0;
  while (bucket + 1 < times.size() && (left -= times[bucket]) > 0) ++bucket;
  return static_cast<double>(bucket + 1) * std::chrono::duration<double, std::milli>(kBucket).count();
}

}  // namespace orv::test
