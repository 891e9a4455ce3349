#pragma once

#include <orvnetwork/data/Types.h>

#include <boost/json/value_stack.hpp>

#include <vector>

namespace orv {

/// Makes the value of an XML property list from its elements, as a parser meets them: each where it may stand,
/// nested as `kMaxPropertyListDepth` allows. Throws `PropertyListDamage` where they do not make a list.
class PropertyListBuilder {
 public:
  enum class Element : unsigned char { List, Dictionary, Array, Key, Text, Integer, Real, True, False };

  PropertyListBuilder();
  PropertyListBuilder(const PropertyListBuilder&) = delete;
  PropertyListBuilder& operator=(const PropertyListBuilder&) = delete;

  /// An element begins.
  void open(std::string_view name);
  /// Characters of the element that began last and has not ended, in as many pieces as they come.
  void characters(std::string_view piece);
  /// Whether these are text, in which a character may be told by a reference to it.
  bool takesReferences() const;
  /// That element ends.
  void close();

  /// Nothing more comes: throws when an element has not ended.
  void requireClosed() const;

  /// The value, once the element of the whole list has ended.
  json::value release() { return values_.release(); }

 private:
  struct Open {
    Element element;
    std::size_t children = 0;
  };

  void checkPlace(Element element);
  void closeText(Element element);
  void closeInteger();
  void closeReal();

  std::vector<Open> open_;
  /// What the innermost element holds, if it holds characters.
  std::string text_;
  alignas(std::max_align_t) unsigned char scratch_[4096];
  json::value_stack values_;
};

}  // namespace orv
