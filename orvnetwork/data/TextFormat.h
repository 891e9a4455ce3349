#pragma once

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/Types.h>

#include <algorithm>
#include <array>
#include <span>

/// @file
/// Fills the slots of a text with arguments. The text is checked when the program is compiled: as many slots
/// as arguments, each of a kind that fits.
///
///     const OptionalString nick = user->nick;
///     formatText("%@ has %ld of %d points", nick, points, 100)   // "(null) has 12 of 100 points"
///     formatText("%02ld:%02ld", seconds / 60, seconds % 60)      // "07:05"
///     formatText("%@", json::object{{"ret", 0}})                 // "{\n    ret = 0;\n}"
///     formatText("%ld points", nick)                             // does not compile: no integer
///
/// | slot | takes |
/// |---|---|
/// | `%@` | text, JSON values, errors, whatever can describe itself, and optionals, pointers and shared pointers of these; what is absent (JSON null too) reads `(null)` |
/// | `%s` | text that is never absent |
/// | `%d` | integers of up to 32 bits |
/// | `%ld`, `%lu` | integers of any width; `%lu` shows them without a sign |
/// | `%02ld` and the like | the same, padded with zeros to as many characters, 64 at most, the sign among them |
/// | `%%` | nothing; it stands for a percent sign |
///
/// There are no slots for real numbers: who shows one says how (`textOfNumber`), and passes the text. A type of a
/// host's own goes into `%@` when its namespace has a `std::string describe(const T&)`:
///
///     namespace mine {
///     struct Point { int x, y; };
///     std::string describe(const Point& point) { return orv::formatText("(%d, %d)", point.x, point.y); }
///     }
///
/// A format that does not fit does not compile. What the compiler says then ends with the name of a function that tells
/// the reason: `formatHasMalformedSlot`, `formatHasTooFewArguments`, `formatHasTooManyArguments` or
/// `formatSlotDoesNotFitArgument`. Formats are literals for that; a text that is only known while the program runs is
/// passed as an argument: `formatText("%@", text)`.
///
/// The console and the log take the same formats: `consoleLog("%@ failed: %@", path, error)`. Nothing here depends on
/// the locale of the process.

namespace orv {

/// The text of a dictionary or an array for a log: members sorted by key, one a line, 4 blanks a level, text
/// in quotes when it is not purely alphanumeric, non-ASCII text as `\Uxxxx`. What exceeds `kMaxDescriptionSize`
/// bytes is cut and marked as such. Text, numbers and booleans by themselves come plain, null as `(null)`; within a
/// dictionary or an array null is `"<null>"`. What is nested deeper than 64 levels is left out. Any thread.
///
///     {
///         err = "no such room";
///         ret = 1202;
///         rooms = (
///             7,
///             "\U6587"
///         );
///     }
ORV_EXPORT std::string describe(const json::value& value);
/// The same of a dictionary.
ORV_EXPORT std::string describe(const json::object& object);
/// The same of an array.
ORV_EXPORT std::string describe(const json::array& array);
/// The one-line form of an error. Any thread.
ORV_EXPORT std::string describe(const Error& error);

/// How many bytes of a description are kept.
inline constexpr std::size_t kMaxDescriptionSize = std::size_t{64} * 1024;

/// What the check at compile time and the filling share.
namespace detail {

/// What is read as text: strings, views of them, literals.
template <typename T>
concept TextLike = std::convertible_to<const T&, std::string_view>;

/// Integers of every width; flags and characters are among them.
template <typename T>
concept IntegerLike = std::integral<T>;

/// What has a function `describe` that is found by its type.
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

/// Whether `%@` takes a type: what an optional or a pointer leads to counts.
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

/// All that the check needs to know of an argument's type.
enum class ArgumentKind : unsigned char { Text, Object, Integer32, Integer64, Other };

/// The kind of a type. `Other` fits no slot.
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
  /// To how many characters an integer is padded; 0: to none.
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
    if (slot.width == 0 || slot.width > 64) return slot;
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

/// Whether a slot takes arguments of a kind.
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

/// What can be wrong with a text.
enum class FormatProblem { None, MalformedSlot, TooFewArguments, TooManyArguments, WrongArgument };

/// What is wrong with a text for arguments of these kinds; the first thing from the left.
constexpr FormatProblem findProblem(std::string_view text, std::span<const ArgumentKind> kinds) {
  std::size_t used = 0;
  for (FormatSlot slot = nextSlot(text, 0); slot.begin < text.size(); slot = nextSlot(text, slot.end)) {
    if (slot.conversion == 0) return FormatProblem::MalformedSlot;
    if (slot.conversion == '%') continue;
    if (used == kinds.size()) return FormatProblem::TooFewArguments;
    if (!slotTakes(slot.conversion, kinds[used])) return FormatProblem::WrongArgument;
    ++used;
  }
  return used == kinds.size() ? FormatProblem::None : FormatProblem::TooManyArguments;
}

// Never defined as constant expressions: to call one while a format is checked is the compiler's error.
void formatHasMalformedSlot();
void formatHasTooFewArguments();
void formatHasTooManyArguments();
void formatSlotDoesNotFitArgument();

/// Compiles only when nothing is wrong; the error of the compiler names one of the functions above.
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

/// An argument without its type: text, an integer, or something that appends its own text. It refers to the argument,
/// which outlives it.
struct FormatArgument {
  std::string_view text;
  /// The bits of the integer, and whether they stand for a negative one.
  std::uint64_t integer = 0;
  bool negative = false;
  /// Where the argument is, and what appends its text; null for text and integers.
  const void* object = nullptr;
  void (*append)(std::string& out, const void* object) = nullptr;
};

/// Appends what `%@` shows of a value.
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

/// An argument as the filling takes it.
template <typename T>
FormatArgument makeArgument(const T& value) {
  FormatArgument argument;
  if constexpr (IntegerLike<T>) {
    argument.integer = static_cast<std::uint64_t>(value);
    if constexpr (std::is_signed_v<T>) argument.negative = value < 0;
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

/// The text with its slots filled. The format has been checked against the arguments.
ORV_EXPORT std::string fillSlots(std::string_view format, std::span<const FormatArgument> arguments);

}  // namespace detail

/// A format that fits arguments of these types; made from a string literal only, and as long-lived as that is. What
/// takes formats of its own declares them like this:
///
///     template <typename... Args>
///     void tell(FormatText<std::type_identity_t<Args>...> format, const Args&... args) {
///       show(formatText<Args...>(format, args...));
///     }
template <typename... Args>
class FormatText {
 public:
  /// Checks the literal, at compile time.
  template <std::size_t N>
  consteval FormatText(const char (&text)[N]) : text_(text, N - 1) {
    constexpr std::array<detail::ArgumentKind, sizeof...(Args)> kinds{detail::argumentKind<Args>()...};
    detail::checkFormat(text_, kinds);
  }
  /// The literal as it stands, with its slots.
  constexpr std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};

/// The text with its slots filled by the arguments, in their order; see the head of this file. Nothing is kept of the
/// arguments. Throws only what a `describe` of the host's throws, and when memory runs out. Any thread.
template <typename... Args>
std::string formatText(FormatText<std::type_identity_t<Args>...> format, const Args&... args) {
  const std::array<detail::FormatArgument, sizeof...(Args)> arguments{detail::makeArgument(args)...};
  return detail::fillSlots(format.text(), arguments);
}

}  // namespace orv
