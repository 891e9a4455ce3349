#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <algorithm>
#include <array>
#include <span>

/// Fills the slots of a text with arguments. The text is checked when the program is compiled: as many slots
/// as arguments, each of a kind that fits.
///
///  - `%@` takes text, JSON values, errors, anything with `std::string describe(const T&)` beside its type, and
///    optionals, pointers and shared pointers of these; what is absent (JSON null too) reads "(null)".
///  - `%s` takes text that is never absent.
///  - `%d` takes integers of up to 32 bits, `%ld` and `%lu` any; `%02ld` and the like pad them with zeros.
///  - `%%` takes nothing and stands for a percent sign.
namespace orv {

/// The text of a dictionary or an array for a log: members sorted by key, one a line, 4 blanks a level, text
/// in quotes when it is not purely alphanumeric, non-ASCII text as `\Uxxxx`. What exceeds `kMaxDescriptionSize`
/// bytes is cut and marked as such. Text, numbers and booleans by themselves come plain. Any thread.
ORV_EXPORT std::string describe(const json::value& value);
ORV_EXPORT std::string describe(const json::object& object);
ORV_EXPORT std::string describe(const json::array& array);
/// The one-line form of an error.
ORV_EXPORT std::string describe(const Error& error);

inline constexpr std::size_t kMaxDescriptionSize = std::size_t{64} * 1024;

namespace detail {

template <typename T>
concept TextLike = std::convertible_to<const T&, std::string_view>;

template <typename T>
concept IntegerLike = std::integral<T>;

template <typename T>
concept SelfDescribing =
    !std::is_arithmetic_v<T> && !TextLike<T> && !std::is_pointer_v<T> && requires(const T& value) {
  { describe(value) } -> std::convertible_to<std::string>;
};

/// Optionals, pointers and shared pointers.
template <typename T>
concept Nullable = !TextLike<T> && requires(const T& value) {
  static_cast<bool>(value);
  *value;
};

template <typename T>
constexpr bool describable() {
  using Plain = std::remove_cvref_t<T>;
  if constexpr (TextLike<Plain>) {
    return true;
  } else if constexpr (Nullable<Plain>) {
    return describable<decltype(*std::declval<const Plain&>())>();
  } else {
    return SelfDescribing<Plain>;
  }
}

enum class ArgumentKind : unsigned char { Text, Object, Integer32, Integer64, Other };

template <typename T>
constexpr ArgumentKind argumentKind() {
  using Plain = std::remove_cvref_t<T>;
  if constexpr (TextLike<Plain>) {
    return ArgumentKind::Text;
  } else if constexpr (IntegerLike<Plain>) {
    return sizeof(Plain) <= 4 ? ArgumentKind::Integer32 : ArgumentKind::Integer64;
  } else if constexpr (describable<Plain>()) {
    return ArgumentKind::Object;
  } else {
    return ArgumentKind::Other;
  }
}

/// One slot of a format: `%` at `begin`, its last character before `end`.
struct FormatSlot {
  std::size_t begin = 0;
  std::size_t end = 0;
  std::size_t width = 0;
  char conversion = 0;  // '@', 's', 'd' (32 bits), 'l' (signed 64), 'u' (unsigned 64), '%'; 0: malformed
};

/// The first slot at or after `from`; `begin` is the text's size when there is none.
constexpr FormatSlot nextSlot(std::string_view text, std::size_t from) {
  FormatSlot slot;
  slot.begin = std::min(text.find('%', from), text.size());
  std::size_t at = slot.begin + 1;
  if (at < text.size() && text[at] == '0') {
    for (++at; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
      slot.width = slot.width * 10 + static_cast<std::size_t>(text[at] - '0');
    }
    if (slot.width == 0 || slot.width > 64) {
      return slot;
    }
  }
  const std::string_view rest = at < text.size() ? text.substr(at) : std::string_view();
  if (rest.starts_with("ld") || rest.starts_with("lu")) {
    slot.conversion = rest[1] == 'd' ? 'l' : 'u';
    slot.end = at + 2;
  } else if (!rest.empty() &&
             (rest[0] == 'd' || (slot.width == 0 && (rest[0] == '@' || rest[0] == 's' || rest[0] == '%')))) {
    slot.conversion = rest[0];
    slot.end = at + 1;
  }
  return slot;
}

constexpr bool slotTakes(char conversion, ArgumentKind kind) {
  switch (conversion) {
    case '@':
      return kind == ArgumentKind::Text || kind == ArgumentKind::Object;
    case 's':
      return kind == ArgumentKind::Text;
    case 'd':
      return kind == ArgumentKind::Integer32;
    default:
      return kind == ArgumentKind::Integer32 || kind == ArgumentKind::Integer64;
  }
}

enum class FormatProblem { None, MalformedSlot, TooFewArguments, TooManyArguments, WrongArgument };

/// What is wrong with a text for arguments of these kinds.
constexpr FormatProblem findProblem(std::string_view text, std::span<const ArgumentKind> kinds) {
  std::size_t used = 0;
  for (FormatSlot slot = nextSlot(text, 0); slot.begin < text.size(); slot = nextSlot(text, slot.end)) {
    if (slot.conversion == 0) {
      return FormatProblem::MalformedSlot;
    }
    if (slot.conversion == '%') {
      continue;
    }
    if (used == kinds.size()) {
      return FormatProblem::TooFewArguments;
    }
    if (!slotTakes(slot.conversion, kinds[used])) {
      return FormatProblem::WrongArgument;
    }
    ++used;
  }
  return used == kinds.size() ? FormatProblem::None : FormatProblem::TooManyArguments;
}

// Never defined as constant expressions: to call one while a format is checked is the compiler's error.
void formatHasMalformedSlot();
void formatHasTooFewArguments();
void formatHasTooManyArguments();
void formatSlotDoesNotFitArgument();

consteval void checkFormat(std::string_view text, std::span<const ArgumentKind> kinds) {
  switch (findProblem(text, kinds)) {
    case FormatProblem::None:
      return;
    case FormatProblem::MalformedSlot:
      return formatHasMalformedSlot();
    case FormatProblem::TooFewArguments:
      return formatHasTooFewArguments();
    case FormatProblem::TooManyArguments:
      return formatHasTooManyArguments();
    case FormatProblem::WrongArgument:
      return formatSlotDoesNotFitArgument();
  }
}

/// An argument without its type: text, an integer, or something that appends its own text.
struct FormatArgument {
  std::string_view text;
  std::uint64_t integer = 0;
  bool negative = false;
  const void* object = nullptr;
  void (*append)(std::string& out, const void* object) = nullptr;
};

template <typename T>
void appendDescription(std::string& out, const T& value) {
  if constexpr (std::is_pointer_v<T> && TextLike<T>) {
    out += value == nullptr ? std::string_view("(null)") : std::string_view(value);
  } else if constexpr (TextLike<T>) {
    out += static_cast<std::string_view>(value);
  } else if constexpr (Nullable<T>) {
    if (value) {
      appendDescription(out, *value);
    } else {
      out += "(null)";
    }
  } else {
    out += describe(value);
  }
}

template <typename T>
FormatArgument makeArgument(const T& value) {
  FormatArgument argument;
  if constexpr (IntegerLike<T>) {
    argument.integer = static_cast<std::uint64_t>(value);
    if constexpr (std::is_signed_v<T>) {
      argument.negative = value < 0;
    }
  } else if constexpr (TextLike<T> && !std::is_pointer_v<T>) {
    argument.text = static_cast<std::string_view>(value);
  } else {
    argument.object = &value;
    argument.append = [](std::string& out, const void* object) {
      appendDescription(out, *static_cast<const T*>(object));
    };
  }
  return argument;
}

ORV_EXPORT std::string fillSlots(std::string_view format, std::span<const FormatArgument> arguments);

}  // namespace detail

/// A format that fits arguments of these types; made from a string literal only.
template <typename... Args>
class FormatText {
 public:
  template <std::size_t N>
  consteval FormatText(const char (&text)[N]) : text_(text, N - 1) {
    constexpr std::array<detail::ArgumentKind, sizeof...(Args)> kinds{detail::argumentKind<Args>()...};
    detail::checkFormat(text_, kinds);
  }
  constexpr std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

/// The text with its slots filled. Any thread.
template <typename... Args>
std::string formatText(FormatText<std::type_identity_t<Args>...> format, const Args&... args) {
  const std::array<detail::FormatArgument, sizeof...(Args)> arguments{detail::makeArgument(args)...};
  return detail::fillSlots(format.text(), arguments);
}

}  // namespace orv
