#include "orvnetwork/data/detail/PropertyListXml.h"

#include <orvnetwork/data/detail/PropertyListBuilder.h>
#include <orvnetwork/data/detail/PropertyListDamage.h>

#include <expat.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <new>

namespace orv {

namespace {

struct ParserFreer {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

/// Property lists hold control characters and line ends of every kind as they are; XML knows few of the former and
/// changes the latter. So the parser looks after the markup only. It is told of an encoding in which each byte is a
/// character, and all bytes beside plain ASCII are one that it minds nowhere in text. The characters themselves are
/// taken from the text, from where the parser says that they stand.
int describeBytes(void*, const XML_Char*, XML_Encoding* encoding) {
  // It may stand in text, and in no name.
  constexpr int kOther = 0xD7;
  for (int byte = 0; byte < 256; ++byte) {
    const bool isPlain = (byte >= 0x20 && byte < 0x7F) || byte == '\t' || byte == '\n' || byte == '\r';
    encoding->map[byte] = isPlain ? byte : kOther;
  }
  return XML_STATUS_OK;
}

class XmlReader {
 public:
  explicit XmlReader(std::string_view text) : text_(text), parser_(XML_ParserCreate("bytes")) {
    if (parser_ == nullptr) throw std::bad_alloc();
    XML_Parser parser = parser_.get();
    XML_SetUserData(parser, this);
    XML_SetUnknownEncodingHandler(parser, describeBytes, nullptr);
    XML_SetElementHandler(parser, opened, closed);
    XML_SetCharacterDataHandler(parser, characters);
    XML_SetCdataSectionHandler(
        parser, [](void* self) { static_cast<XmlReader*>(self)->isMarkedData_ = true; },
        [](void* self) { static_cast<XmlReader*>(self)->isMarkedData_ = false; });
    XML_SetStartDoctypeDeclHandler(parser, typeDeclared);
    XML_SetSkippedEntityHandler(parser, entitySkipped);
  }

  json::value run() {
    const XML_Status status =
        XML_Parse(parser_.get(), text_.data(), static_cast<int>(text_.size()), XML_TRUE);
    if (failure_ != nullptr) std::rethrow_exception(failure_);
    if (status != XML_STATUS_OK) refuse(XML_GetErrorCode(parser_.get()));
    return builder_.release();
  }

 private:
  [[noreturn]] void refuse(XML_Error error) const {
    // Of a text that is cut off the parser says that nothing was found.
    if (error == XML_ERROR_NO_ELEMENTS) builder_.requireClosed();
    throw PropertyListDamage(std::string("it is not XML: ") + XML_ErrorString(error) + " in line " +
                             std::to_string(XML_GetCurrentLineNumber(parser_.get())));
  }

  /// Does something for the parser, through which nothing may be thrown.
  template <typename Work>
  static void guarded(void* self, Work work) noexcept {
    auto& reader = *static_cast<XmlReader*>(self);
    // A parser that was stopped may have a few things to tell still.
    if (reader.failure_ != nullptr) return;
    try {
      work(reader);
    } catch (...) {
      reader.failure_ = std::current_exception();
      XML_StopParser(reader.parser_.get(), XML_FALSE);
    }
  }

  // Attributes mean nothing in a property list.
  static void opened(void* self, const XML_Char* name, const XML_Char**) {
    guarded(self, [name](XmlReader& reader) { reader.builder_.open(name); });
  }
  static void closed(void* self, const XML_Char*) {
    guarded(self, [](XmlReader& reader) { reader.builder_.close(); });
  }
  static void characters(void* self, const XML_Char* resolved, int size) {
    guarded(self, [=](XmlReader& reader) {
      reader.takeCharacters({resolved, static_cast<std::size_t>(size)});
    });
  }
  static void typeDeclared(void* self, const XML_Char*, const XML_Char*, const XML_Char*, int declaresMore) {
    guarded(self, [=](XmlReader&) {
      if (declaresMore != 0) throw PropertyListDamage("it declares its own type");
    });
  }
  static void entitySkipped(void* self, const XML_Char*, int) {
    guarded(self, [](XmlReader&) { throw PropertyListDamage("it refers to a character that is none"); });
  }

  /// `resolved` is what the parser makes of the characters, and right for a reference to one.
  void takeCharacters(std::string_view resolved) {
    const auto begin = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_.get()));
    const std::size_t end = begin + static_cast<std::size_t>(XML_GetCurrentByteCount(parser_.get()));
    if (text_[begin] == '&' && !isMarkedData_ && builder_.takesReferences()) {
      return builder_.characters(resolved);
    }
    // Of long text in several pieces each may be told to reach up to the end.
    builder_.characters(text_.substr(std::max(begin, taken_), end - std::max(begin, taken_)));
    taken_ = end;
  }

  std::string_view text_;
  std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFreer> parser_;
  PropertyListBuilder builder_;
  bool isMarkedData_ = false;
  /// Up to where characters have been taken.
  std::size_t taken_ = 0;
  std::exception_ptr failure_;
};

}  // namespace

json::value readXmlPropertyList(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  if (text.find('\0') != std::string_view::npos) throw PropertyListDamage("it holds a zero byte");
  return XmlReader(text).run();
}

}  // namespace orv
