#include "orvnetwork/data/detail/PropertyListBuilder.h"

#include <orvnetwork/data/PropertyListLimits.h>
#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/data/detail/Decimal.h>
#include <orvnetwork/data/detail/PropertyListDamage.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace orv {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

[[noreturn]] void throwFor(std::string_view name, std::string_view what) {
  constexpr std::size_t kShownNameSize = 32;
  throw PropertyListDamage("<" + std::string(name.substr(0, kShownNameSize)) + "> " + std::string(what));
}

using Element = PropertyListBuilder::Element;

struct ElementName {
  std::string_view name;
  Element element;
};

constexpr std::array<ElementName, 9> kElementNames{{
    {"key", Element::Key},
    {"string", Element::Text},
    {"integer", Element::Integer},
    {"real", Element::Real},
    {"true", Element::True},
    {"false", Element::False},
    {"dict", Element::Dictionary},
    {"array", Element::Array},
    {"plist", Element::List},
}};

Element elementOf(std::string_view name) {
  const auto* const found = std::ranges::find(kElementNames, name, &ElementName::name);
  if (found == kElementNames.end()) throwFor(name, "is no element that is taken");
  return found->element;
}

std::string_view nameOf(Element element) {
  return std::ranges::find(kElementNames, element, &ElementName::element)->name;
}

bool holdsCharacters(Element element) {
  return element == Element::Key || element == Element::Text || element == Element::Integer ||
         element == Element::Real;
}

}  // namespace

PropertyListBuilder::PropertyListBuilder() : values_({}, scratch_, sizeof scratch_) {
  values_.reset();
}

void PropertyListBuilder::open(std::string_view name) {
  const Element element = elementOf(name);
  checkPlace(element);
  // The element of the whole list comes on top of what nests.
  const bool nests = element == Element::Dictionary || element == Element::Array;
  if (nests && open_.size() > kMaxPropertyListDepth) throw PropertyListDamage("it is nested too deep");
  open_.push_back({element});
  text_.clear();
}

void PropertyListBuilder::checkPlace(Element element) {
  const bool isWhole = element == Element::List;
  if (isWhole != open_.empty()) throwFor(nameOf(element), "is out of place");
  if (isWhole) return;
  Open& around = open_.back();
  const bool isDictionary = around.element == Element::Dictionary;
  if (!isDictionary && around.element != Element::List && around.element != Element::Array) {
    throwFor(nameOf(around.element), "holds another element");
  }
  const bool keyIsNext = isDictionary && around.children % 2 == 0;
  const bool isSecondRoot = around.element == Element::List && around.children > 0;
  if (keyIsNext != (element == Element::Key) || isSecondRoot) throwFor(nameOf(element), "is out of place");
  ++around.children;
}

void PropertyListBuilder::characters(std::string_view piece) {
  if (!open_.empty() && holdsCharacters(open_.back().element)) {
    text_ += piece;
  } else if (piece.find_first_not_of(kBlanks) != std::string_view::npos) {
    throw PropertyListDamage("text is out of place");
  }
}

bool PropertyListBuilder::takesReferences() const {
  return !open_.empty() && (open_.back().element == Element::Key || open_.back().element == Element::Text);
}

void PropertyListBuilder::close() {
  const Open ended = open_.back();
  open_.pop_back();
  switch (ended.element) {
    case Element::List:
      if (ended.children == 0) throw PropertyListDamage("it holds no property list");
      return;
    case Element::Dictionary:
      if (ended.children % 2 != 0) throw PropertyListDamage("a key has no value");
      return values_.push_object(ended.children / 2);
    case Element::Array:
      return values_.push_array(ended.children);
    case Element::Key:
    case Element::Text:
      return closeText(ended.element);
    case Element::Integer:
      return closeInteger();
    case Element::Real:
      return closeReal();
    case Element::True:
    case Element::False:
      return values_.push_bool(ended.element == Element::True);
  }
}

void PropertyListBuilder::requireClosed() const {
  if (!open_.empty()) throwFor(nameOf(open_.back().element), "is not closed");
}

void PropertyListBuilder::closeText(Element element) {
  if (!isUtf8(text_)) throw PropertyListDamage("it holds text that is not UTF-8");
  if (element == Element::Key) {
    values_.push_key(text_);
  } else {
    values_.push_string(text_);
  }
}

/// Decimal or hexadecimal.
void PropertyListBuilder::closeInteger() {
  std::string_view digits = trimmed(text_);
  const bool negative = digits.starts_with('-');
  if (negative || digits.starts_with('+')) digits.remove_prefix(1);
  const bool hexadecimal = digits.starts_with("0x") || digits.starts_with("0X");
  if (hexadecimal) digits.remove_prefix(2);
  std::uint64_t size = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, size, hexadecimal ? 16 : 10);
  if (error == std::errc::invalid_argument || stop != end) {
    throw PropertyListDamage("an integer is no number");
  }
  constexpr std::uint64_t kMostNegative = std::uint64_t{1} << 63;
  if (error != std::errc() || (negative && size > kMostNegative)) {
    throw PropertyListDamage("an integer is too large");
  }
  if (!negative && size >= kMostNegative) return values_.push_uint64(size);
  values_.push_int64(static_cast<std::int64_t>(negative ? 0 - size : size));
}

void PropertyListBuilder::closeReal() {
  std::string_view digits = trimmed(text_);
  if (digits.starts_with('+') && !digits.substr(1).starts_with('-')) digits.remove_prefix(1);
  double number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error == std::errc::invalid_argument || stop != end || digits.ends_with(')')) {
    throw PropertyListDamage("a real is no number");
  }
  if (error == std::errc::result_out_of_range) number = realFromDecimal(digits);
  values_.push_double(std::isnan(number) ? std::numeric_limits<double>::quiet_NaN() : number);
}

}  // namespace orv
