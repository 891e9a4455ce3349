#include <orvnetwork/platform/PropertyList.h>
#include <orvnetwork/platform/PropertyListText.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <vector>

namespace orv {

namespace {

constexpr std::array<std::string_view, 9> kElements{"plist",   "dict", "array", "key",  "string",
                                                    "integer", "real", "true",  "false"};

struct Damage : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class Reducer {
 public:
  explicit Reducer(std::string_view text) : rest_(text) {
    if (rest_.starts_with("\xEF\xBB\xBF")) rest_.remove_prefix(3);
    out_.reserve(rest_.size());
  }

  std::string run() && {
    if (rest_.starts_with("bplist")) throw Damage("it is in the binary form");
    if (rest_.find('\0') != std::string_view::npos) throw Damage("it holds a zero byte");
    while (!rest_.empty()) {
      const std::size_t tag = std::min(rest_.find('<'), rest_.size());
      out_ += rest_.substr(0, tag);
      rest_.remove_prefix(tag);
      if (!rest_.empty()) takeMarkup();
    }
    if (!open_.empty()) throw Damage("<" + std::string(open_.back()) + "> is not closed");
    return std::move(out_);
  }

 private:
  void takeMarkup() {
    if (rest_.starts_with("<!--")) {
      takeThrough(4, "-->");
    } else if (rest_.starts_with("<![CDATA[")) {
      escape(takeThrough(9, "]]>"));
    } else if (rest_.starts_with("<?")) {
      takeThrough(2, "?>");
    } else if (rest_.starts_with("<!DOCTYPE")) {
      // What a document type declares inside is nobody's business here.
      if (takeThrough(9, ">").find_first_of("[<") != std::string_view::npos)
        throw Damage("it declares its own type");
    } else {
      takeTag();
    }
  }

  /// Takes a piece of markup whose head has so many bytes, and its end mark; returns what is between.
  std::string_view takeThrough(std::size_t head, std::string_view mark) {
    const std::size_t end = rest_.find(mark, head);
    if (end == std::string_view::npos) throw Damage("it ends within a mark");
    const std::string_view inside = rest_.substr(head, end - head);
    rest_.remove_prefix(end + mark.size());
    return inside;
  }

  void takeTag() {
    std::string_view tag = takeThrough(1, ">");
    if (tag.find('<') != std::string_view::npos) throw Damage("a tag holds another one");
    const bool closing = tag.starts_with('/');
    const bool empty = !closing && tag.ends_with('/');
    if (closing) tag.remove_prefix(1);
    if (empty) tag.remove_suffix(1);
    const std::string_view name = tag.substr(0, tag.find_first_of(" \t\r\n"));
    if (std::ranges::find(kElements, name) == kElements.end()) {
      throw Damage("<" + std::string(name.substr(0, 32)) + "> is no element that is taken");
    }
    if (!closing) checkPlace(name);
    if (closing) {
      close(name);
    } else if (!empty) {
      open(name);
    }
    // Attributes mean nothing in a property list.
    out_ += '<';
    if (closing) out_ += '/';
    out_ += name;
    out_ += empty ? "/>" : ">";
  }

  void checkPlace(std::string_view name) const {
    const bool isRoot = name == "plist";
    if (isRoot != open_.empty()) throw Damage("<" + std::string(name) + "> is out of place");
    if (isRoot) return;
    const std::string_view around = open_.back();
    if (around != "plist" && around != "dict" && around != "array") {
      throw Damage("<" + std::string(around) + "> holds another element");
    }
  }

  void open(std::string_view name) {
    open_.push_back(name);
    // The root comes on top of what nests.
    const bool nests = name == "dict" || name == "array";
    if (nests && open_.size() > kMaxPropertyListDepth + 1) throw Damage("it is nested too deep");
  }

  void close(std::string_view name) {
    if (open_.empty() || open_.back() != name) throw Damage("</" + std::string(name) + "> closes nothing");
    open_.pop_back();
  }

  void escape(std::string_view characters) {
    for (const char c : characters) {
      switch (c) {
        case '<':
          out_ += "&lt;";
          break;
        case '>':
          out_ += "&gt;";
          break;
        case '&':
          out_ += "&amp;";
          break;
        default:
          out_ += c;
      }
    }
  }

  std::string_view rest_;
  std::string out_;
  std::vector<std::string_view> open_;
};

}  // namespace

OptionalString plainPropertyListText(std::string_view text, std::string& problem) {
  try {
    return Reducer(text).run();
  } catch (const Damage& damage) {
    problem = damage.what();
    return std::nullopt;
  }
}

}  // namespace orv
