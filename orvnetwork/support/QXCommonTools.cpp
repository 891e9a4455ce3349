#include <orvnetwork/platform/Md5.h>
#include <orvnetwork/support/QXCommonTools.h>

namespace orv {

std::string QXCommonTools::md5HexDigest(std::string_view text) {
  return md5Hex(text.substr(0, text.find('\0')));
}

bool QXCommonTools::isEmptyString(const Object& value) {
  if (!value || value->is_null()) {
    return true;
  }
  if (const json::string* text = value->if_string()) {
    return text->empty();
  }
  if (const json::array* array = value->if_array()) {
    return array->empty();
  }
  const json::object* object = value->if_object();
  return object != nullptr && object->empty();
}

json::value QXCommonTools::formatString(const Object& value) {
  return !value || value->is_null() ? json::value("") : *value;
}

}  // namespace orv
