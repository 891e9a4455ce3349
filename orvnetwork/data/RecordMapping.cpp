#include "orvnetwork/data/RecordMapping.h"

#include <orvnetwork/data/JsonIndex.h>
#include <orvnetwork/data/TextFormat.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <typeinfo>

namespace orv {

namespace {

template <typename Number>
std::uint64_t bytesAt(const char* place) {
  Number bytes;
  std::memcpy(&bytes, place, sizeof bytes);
  return bytes;
}

[[noreturn]] void refuseTable(const char* why, std::string_view key) {
  std::fprintf(stderr, "OrvNetwork: a record's field table %s: %.*s\n", why, static_cast<int>(key.size()),
               key.data());
  std::abort();
}

}  // namespace

inline RecordTable::Key::Key(std::string_view key) : letters(key) {
  const char* const end = key.data() + key.size();
  if (key.size() >= sizeof(std::uint64_t)) {
    front = bytesAt<std::uint64_t>(key.data());
    back = bytesAt<std::uint64_t>(end - sizeof(std::uint64_t));
  } else if (key.size() >= sizeof(std::uint32_t)) {
    front = bytesAt<std::uint32_t>(key.data());
    back = bytesAt<std::uint32_t>(end - sizeof(std::uint32_t));
  } else {
    for (const char letter : key) front = front << 8 | static_cast<unsigned char>(letter);
  }
}

inline bool RecordTable::Key::operator==(const Key& other) const {
  constexpr std::size_t kEnd = sizeof front;
  if (front != other.front || back != other.back || letters.size() != other.letters.size()) return false;
  return letters.size() <= 2 * kEnd || letters.substr(kEnd) == other.letters.substr(kEnd);
}

inline std::size_t RecordTable::Key::hash() const {
  return static_cast<std::size_t>(((front ^ std::rotl(back, 21)) * 0x9E3779B97F4A7C15u) >> 40);
}

RecordTable::RecordTable(std::vector<RecordField> fields) : fields_(std::move(fields)) {
  if (fields_.size() > kMaxFields) refuseTable("has too many fields", fields_.back().name);
  for (std::size_t field = 0; field < fields_.size(); ++field) {
    for (std::size_t rank = 0; rank < fields_[field].keys.size(); ++rank) {
      addKey(fields_[field].keys[rank], field, rank);
    }
  }
}

void RecordTable::addKey(std::string_view key, std::size_t field, std::size_t rank) {
  if (find(key) != nullptr) refuseTable("has a key twice", key);
  const Key wanted(key);
  std::size_t at = wanted.hash() % kSlots;
  while (!slots_[at].isFree()) at = (at + 1) % kSlots;
  slots_[at] = {wanted, static_cast<std::uint8_t>(field), static_cast<std::uint8_t>(rank)};
}

const RecordTable::Slot* RecordTable::find(std::string_view key) const {
  const Key wanted(key);
  for (std::size_t at = wanted.hash() % kSlots; !slots_[at].isFree(); at = (at + 1) % kSlots) {
    if (slots_[at].key == wanted) return &slots_[at];
  }
  return nullptr;
}

void RecordTable::merge(Record& record, const json::object& values) const {
  struct Found {
    const json::value* value = nullptr;
    std::uint8_t rank = 0;
  };
  std::array<Found, kMaxFields> found;
  for (const auto& [key, value] : values) {
    const Slot* const slot = find(std::string_view(key.data(), key.size()));
    if (slot == nullptr) continue;
    Found& best = found[slot->field];
    if (best.value == nullptr || slot->rank < best.rank) best = {&value, slot->rank};
  }
  for (std::size_t field = 0; field < fields_.size(); ++field) {
    if (found[field].value != nullptr) fields_[field].assign(record, *found[field].value);
  }
}

void RecordTable::merge(Record& record, const JsonView& values) const {
  // By place: a member's is never 0.
  std::array<std::uint32_t, kMaxFields> found{};
  std::array<std::uint8_t, kMaxFields> ranks;
  values.eachMember([&](std::string_view key, const JsonView& value) {
    const Slot* const slot = find(key);
    if (slot == nullptr) return;
    // The last one of a key counts.
    if (found[slot->field] != 0 && slot->rank > ranks[slot->field]) return;
    found[slot->field] = value.place();
    ranks[slot->field] = slot->rank;
  });
  for (std::size_t field = 0; field < fields_.size(); ++field) {
    if (found[field] != 0) fields_[field].assignView(record, values.at(found[field]));
  }
}

bool Record::merge(const json::value* values) {
  if (values == nullptr || !values->is_object()) return false;
  merge(values->get_object());
  return true;
}

void Record::merge(const json::object& values) {
  fields().merge(*this, values);
}

json::object Record::jsonObject() const {
  json::object out;
  out.reserve(fields().fields().size());
  for (const RecordField& field : fields().fields()) field.emit(*this, field.keys.front(), out);
  return out;
}

bool Record::isEqual(const Record* other) const {
  return this == other;
}

std::size_t Record::hash() const {
  return std::hash<const void*>()(this);
}

std::string Record::description() const {
  return describe(jsonObject());
}

void Record::encodeWithCoder(KeyedArchive& archive) const {
  for (const RecordField& field : fields().fields()) field.encode(*this, field.name, archive);
}

void Record::decode(const KeyedArchive& archive) {
  for (const RecordField& field : fields().fields()) field.decode(*this, field.name, archive);
}

std::string describe(const Record& record) {
  return record.description();
}

bool allFieldsEqual(const Record& one, const Record& other) {
  if (&one == &other) return true;
  if (typeid(one) != typeid(other)) return false;
  for (const RecordField& field : one.fields().fields()) {
    if (!field.same(one, other)) return false;
  }
  return true;
}

std::size_t hashOfAllFields(const Record& record) {
  std::size_t hash = 0;
  for (const RecordField& field : record.fields().fields()) hash ^= field.hash(record);
  return hash;
}

void copyAllFields(const Record& from, Record& to) {
  for (const RecordField& field : from.fields().fields()) field.copy(from, to);
}

}  // namespace orv
