#include "orvnetwork/data/PropertyList.h"

#include <orvnetwork/data/PropertyListLimits.h>
#include <orvnetwork/data/TextOrder.h>
#include <orvnetwork/data/Utf8.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <exception>
#include <vector>

namespace orv {

namespace {

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view kTail = "</plist>\n";

/// How many bytes of a key an error shows.
constexpr std::size_t kShownKeySize = 60;

/// What the ends of all that is open can take.
constexpr std::size_t kRoomForEnds = (kMaxPropertyListDepth + 1) * (kMaxPropertyListDepth + 16);

/// What becomes of a value that a property list cannot hold.
enum class Unstorable { Fails, IsLeftOut };

enum class Byte : std::uint8_t { Plain, Sequence, Escaped, Zero };

constexpr std::array<Byte, 256> makeKinds() {
  std::array<Byte, 256> kinds{};
  for (std::size_t c = 0x80; c < 0x100; ++c) kinds[c] = Byte::Sequence;
  kinds[0] = Byte::Zero;
  kinds['<'] = kinds['>'] = kinds['&'] = Byte::Escaped;
  return kinds;
}
constexpr std::array<Byte, 256> kKinds = makeKinds();

std::string_view view(json::string_view text) {
  return {text.data(), text.size()};
}

class PlistWriter {
 public:
  explicit PlistWriter(Unstorable unstorable) : leavesOut_(unstorable == Unstorable::IsLeftOut) {
    out_.reserve(4096);
  }

  template <typename Value>
  Result<PartialPropertyList> run(const Value& value) && {
    out_ += kHead;
    if (!write(value)) {
      return failure((place_.empty() ? "the root" : place_.substr(place_.front() == '.' ? 1 : 0)) + " " +
                     problem_);
    }
    out_ += kTail;
    if (out_.size() > kMaxPropertyListSize) return failure("the root is too large for a property list");
    return PartialPropertyList{std::move(out_), std::move(leftOut_)};
  }

  static Error failure(std::string why) {
    return {std::string(kPropertyListErrorDomain), kPropertyListErrorCode, std::move(why)};
  }

 private:
  bool write(const json::value& value) {
    switch (value.kind()) {
      case json::kind::null:
        return fail("is null, which a property list cannot hold");
      case json::kind::bool_:
        return writeLine(value.get_bool() ? "<true/>" : "<false/>");
      case json::kind::int64:
        return writeInteger(value.get_int64());
      case json::kind::uint64:
        return writeInteger(value.get_uint64());
      case json::kind::double_:
        return writeReal(value.get_double());
      case json::kind::string:
        return writeText("<string>", view(value.get_string()), "</string>\n");
      case json::kind::array:
        return write(value.get_array());
      case json::kind::object:
        return write(value.get_object());
    }
    return false;
  }

  bool write(const json::array& array) {
    const std::size_t start = out_.size();
    writeLine("<array>");
    const std::size_t inside = out_.size();
    if (!enter()) return false;
    for (std::size_t at = 0; at < array.size(); ++at) {
      const auto step = [at] { return "[" + std::to_string(at) + "]"; };
      if (!writePart([&] { return write(array[at]) || failBelow(step()); }, step)) return false;
    }
    return leave(inside, "</array>") || writeEmpty(start, "<array/>");
  }

  bool write(const json::object& dictionary) {
    const std::size_t start = out_.size();
    writeLine("<dict>");
    const std::size_t inside = out_.size();
    if (!enter()) return false;
    for (const json::key_value_pair* member : sorted(dictionary)) {
      const auto step = [member] { return "." + std::string(utf8Front(view(member->key()), kShownKeySize)); };
      if (!writePart([&] { return writeMember(*member, step); }, step)) return false;
    }
    return leave(inside, "</dict>") || writeEmpty(start, "<dict/>");
  }

  template <typename Step>
  bool writeMember(const json::key_value_pair& member, const Step& step) {
    if (!writeText("<key>", view(member.key()), "</key>\n")) return failAtKey();
    return write(member.value()) || failBelow(step());
  }

  /// Writes one part of an array or a dictionary, by `write`, which on a failure notes where below this one it was; or
  /// takes back what was written of it. `step` names the part.
  template <typename Write, typename Step>
  bool writePart(const Write& write, const Step& step) {
    if (!leavesOut_) return write();
    const std::size_t written = out_.size();
    const std::size_t depth = depth_;
    const std::size_t leftOutBefore = leftOut_.size();
    if (!write()) {
      leftOut_.push_back(place_ + " " + problem_);
    } else if (out_.size() + kRoomForEnds > kMaxPropertyListSize) {
      leftOut_.resize(leftOutBefore);
      leftOut_.push_back(step() + " makes it too large for a property list");
    } else {
      // What was left out further in was named from there.
      for (std::size_t at = leftOutBefore; at < leftOut_.size(); ++at) leftOut_[at].insert(0, step());
      return true;
    }
    out_.resize(written);
    depth_ = depth;
    place_.clear();
    return true;
  }

  static std::vector<const json::key_value_pair*> sorted(const json::object& dictionary) {
    std::vector<const json::key_value_pair*> members;
    members.reserve(dictionary.size());
    for (const json::key_value_pair& member : dictionary) members.push_back(&member);
    std::ranges::sort(members, [](const auto* left, const auto* right) {
      return precedesByUtf16Units(view(left->key()), view(right->key()));
    });
    return members;
  }

  /// What is inside stands a tab further in, but for the root.
  bool enter() { return ++depth_ <= kMaxPropertyListDepth || fail("is nested too deep for a property list"); }
  /// False when nothing was written since `inside`.
  bool leave(std::size_t inside, std::string_view end) {
    --depth_;
    return out_.size() > inside && writeLine(end);
  }
  bool writeEmpty(std::size_t start, std::string_view line) {
    out_.resize(start);
    return writeLine(line);
  }

  void indent() { out_.append(depth_, '\t'); }

  bool writeLine(std::string_view line) {
    indent();
    out_ += line;
    out_ += '\n';
    return true;
  }

  template <typename Integer>
  bool writeInteger(Integer number) {
    char buffer[24];
    return writeNumber("<integer>", {buffer, std::to_chars(buffer, std::end(buffer), number).ptr},
                       "</integer>\n");
  }

  bool writeReal(double number) {
    if (std::isnan(number)) return writeLine("<real>nan</real>");
    if (std::isinf(number)) {
      return writeLine(number > 0 ? "<real>+infinity</real>" : "<real>-infinity</real>");
    }
    if (number == 0) return writeLine("<real>0.0</real>");
    char buffer[32];
    const auto end = std::to_chars(buffer, std::end(buffer), number, std::chars_format::general, 17).ptr;
    return writeNumber("<real>", {buffer, end}, "</real>\n");
  }

  bool writeNumber(std::string_view opening, std::string_view digits, std::string_view closing) {
    indent();
    out_ += opening;
    out_ += digits;
    out_ += closing;
    return true;
  }

  bool writeText(std::string_view opening, std::string_view text, std::string_view closing) {
    indent();
    out_ += opening;
    std::size_t written = 0;
    for (std::size_t at = 0; at < text.size();) {
      const Byte kind = kKinds[static_cast<unsigned char>(text[at])];
      if (kind == Byte::Plain) {
        ++at;
      } else if (kind == Byte::Sequence) {
        const std::size_t length = utf8SequenceLength(text.substr(at));
        if (length == 0) return fail("is not UTF-8");
        at += length;
      } else if (kind == Byte::Zero) {
        return fail("holds a zero byte");
      } else {
        out_ += text.substr(written, at - written);
        out_ += text[at] == '<' ? "&lt;" : text[at] == '>' ? "&gt;" : "&amp;";
        written = ++at;
      }
    }
    out_ += text.substr(written);
    out_ += closing;
    return true;
  }

  bool fail(const char* problem) {
    problem_ = problem;
    return false;
  }

  bool failBelow(const std::string& step) {
    place_.insert(0, step);
    return false;
  }

  bool failAtKey() {
    problem_.insert(0, "has a key that ");
    return false;
  }

  const bool leavesOut_;

  std::string out_;
  std::size_t depth_ = 0;
  std::string problem_;
  /// Where it went wrong, put together on the way back.
  std::string place_;
  std::vector<std::string> leftOut_;
};

template <typename Value>
Result<PartialPropertyList> writeRoot(const Value& value, Unstorable unstorable) try {
  Result<PartialPropertyList> list = PlistWriter(unstorable).run(value);
  if (!list) return list;
  for (std::string& place : list->leftOut) {
    if (place.front() == '.') place.erase(0, 1);
    if (place.front() == ' ') place.insert(0, "the root");
  }
  return list;
} catch (const std::exception& exception) {
  return PlistWriter::failure(exception.what());
}

template <typename Value>
Result<std::string> writeWhole(const Value& value) {
  Result<PartialPropertyList> list = writeRoot(value, Unstorable::Fails);
  if (!list) return list.error();
  return std::move(list->text);
}

}  // namespace

Result<std::string> writePropertyList(const json::value& value) {
  return writeWhole(value);
}
Result<std::string> writePropertyList(const json::object& dictionary) {
  return writeWhole(dictionary);
}
Result<std::string> writePropertyList(const json::array& array) {
  return writeWhole(array);
}

Result<PartialPropertyList> writePartialPropertyList(const json::object& dictionary) {
  return writeRoot(dictionary, Unstorable::IsLeftOut);
}
Result<PartialPropertyList> writePartialPropertyList(const json::array& array) {
  return writeRoot(array, Unstorable::IsLeftOut);
}

}  // namespace orv
