#include <orvnetwork/platform/PropertyList.h>
#include <orvnetwork/platform/PropertyListText.h>

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
    members.insert_or_assign(key, valueOf(member));
  }
}

json::array arrayOf(plist_t node) {
  json::array items;
  const std::uint32_t count = plist_array_get_size(node);
  items.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) items.push_back(valueOf(plist_array_get_item(node, i)));
  return items;
}

json::value numberOf(plist_t node) {
  std::uint64_t bits = 0;
  plist_get_uint_val(node, &bits);
  return static_cast<std::int64_t>(bits);
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
      return json::string(text != nullptr ? json::string_view(text, size) : json::string_view());
    }
    case PLIST_ARRAY:
      return arrayOf(node);
    case PLIST_DICT:
      return dictionaryOf(node);
    default:
      throw std::runtime_error("it holds a value of no kind that is taken");
  }
}

PropertyListResult damaged(std::string why) {
  return {std::nullopt, {std::string(kPropertyListErrorDomain), 3840, std::move(why)}};
}

}  // namespace

PropertyListResult readPropertyList(std::string_view text) {
  std::string problem;
  const OptionalString plain = plainPropertyListText(text, problem);
  if (!plain) return damaged(std::move(problem));
  if (plain->size() > std::numeric_limits<std::uint32_t>::max()) return damaged("it is too large");
  plist_t root = nullptr;
  plist_from_xml(plain->data(), static_cast<std::uint32_t>(plain->size()), &root);
  const Node owner(root);
  if (root == nullptr) return damaged("it is not an XML property list");
  try {
    return {valueOf(root), {}};
  } catch (const std::runtime_error& error) {
    return damaged(error.what());
  }
}

}  // namespace orv
