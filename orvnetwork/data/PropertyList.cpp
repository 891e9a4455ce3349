#include "orvnetwork/data/PropertyList.h"

#include <orvnetwork/data/Utf8.h>
#include <orvnetwork/data/detail/PropertyListBinary.h>
#include <orvnetwork/data/detail/PropertyListText.h>

#include <locale.h>
#include <plist/plist.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <stdexcept>

namespace orv {

namespace {

struct NodeFreer {
  void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeFreer>;

struct TextFreer {
  void operator()(char* text) const { std::free(text); }
};
using OwnedText = std::unique_ptr<char, TextFreer>;

/// Keeps the calling thread to the locale "C" as long as it lives: the parser reads reals by the locale,
/// which is the host's affair.
class PlainLocale {
 public:
  PlainLocale() {
    static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
    if (plain == nullptr) throw std::runtime_error("there is no plain locale");
    before_ = ::uselocale(plain);
  }
  PlainLocale(const PlainLocale&) = delete;
  PlainLocale& operator=(const PlainLocale&) = delete;
  ~PlainLocale() { ::uselocale(before_); }

 private:
  locale_t before_ = nullptr;
};

std::string_view checkedText(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = utf8SequenceLength(text.substr(at));
    if (length == 0 || text[at] == '\0') throw std::runtime_error("it holds text that is not UTF-8");
    at += length;
  }
  return text;
}

json::value valueOf(plist_t node);

json::object dictionaryOf(plist_t node) {
  json::object members;
  plist_dict_iter iterator = nullptr;
  plist_dict_new_iter(node, &iterator);
  const std::unique_ptr<void, decltype(&std::free)> owner(iterator, &std::free);
  while (true) {
    char* key = nullptr;
    plist_t member = nullptr;
    plist_dict_next_item(node, iterator, &key, &member);
    const OwnedText ownedKey(key);
    if (key == nullptr || member == nullptr) return members;
    members.insert_or_assign(checkedText(key), valueOf(member));
  }
}

json::array arrayOf(plist_t node) {
  json::array items;
  const std::uint32_t count = plist_array_get_size(node);
  items.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) items.push_back(valueOf(plist_array_get_item(node, i)));
  return items;
}

/// Of a number that needs all 64 bits only its text tells whether it is negative.
bool isNegative(plist_t node) {
  char* text = nullptr;
  std::uint32_t size = 0;
  plist_to_xml(node, &text, &size);
  const OwnedText owner(text);
  return text != nullptr && std::string_view(text, size).find("<integer>-") != std::string_view::npos;
}

json::value numberOf(plist_t node) {
  std::uint64_t bits = 0;
  plist_get_uint_val(node, &bits);
  const auto number = static_cast<std::int64_t>(bits);
  if (number >= 0 || isNegative(node)) return number;
  return bits;
}

json::value realOf(plist_t node) {
  double number = 0;
  plist_get_real_val(node, &number);
  return number;
}

json::value valueOf(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t flag = 0;
      plist_get_bool_val(node, &flag);
      return flag != 0;
    }
    case PLIST_UINT:
      return numberOf(node);
    case PLIST_REAL:
      return realOf(node);
    case PLIST_STRING: {
      std::uint64_t size = 0;
      const char* text = plist_get_string_ptr(node, &size);
      return json::string(checkedText(text != nullptr ? std::string_view(text, size) : std::string_view()));
    }
    case PLIST_ARRAY:
      return arrayOf(node);
    case PLIST_DICT:
      return dictionaryOf(node);
    default:
      throw std::runtime_error("it holds a value of no kind that is taken");
  }
}

Error damaged(std::string why) {
  return {std::string(kPropertyListErrorDomain), kPropertyListErrorCode, std::move(why)};
}

Result<json::value> readText(std::string_view text) {
  std::string problem;
  const OptionalString plain = plainPropertyListText(text, problem);
  if (!plain) return damaged(std::move(problem));
  // Escapes make it grow, though never by that much.
  if (plain->size() > std::numeric_limits<std::uint32_t>::max()) return damaged("it is too large");
  const PlainLocale locale;
  plist_t root = nullptr;
  plist_from_xml(plain->data(), static_cast<std::uint32_t>(plain->size()), &root);
  const Node owner(root);
  if (root == nullptr) return damaged("it is not an XML property list");
  return valueOf(root);
}

}  // namespace

Result<json::value> readPropertyList(std::string_view bytes) try {
  if (bytes.size() > kMaxPropertyListSize) return damaged("it is too large");
  return bytes.starts_with("bplist") ? readBinaryPropertyList(bytes) : readText(bytes);
} catch (const std::exception& error) {
  return damaged(error.what());
}

}  // namespace orv
