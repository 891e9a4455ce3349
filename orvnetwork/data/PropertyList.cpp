#include "orvnetwork/data/PropertyList.h"

#include <orvnetwork/data/Error.h>
#include <orvnetwork/data/PropertyListLimits.h>
#include <orvnetwork/data/detail/PropertyListBinary.h>
#include <orvnetwork/data/detail/PropertyListDamage.h>
#include <orvnetwork/data/detail/PropertyListXml.h>

#include <exception>

namespace orv {

Result<json::value> readPropertyList(std::string_view bytes) try {
  if (bytes.size() > kMaxPropertyListSize) throw PropertyListDamage("it is too large");
  return bytes.starts_with("bplist") ? readBinaryPropertyList(bytes) : readXmlPropertyList(bytes);
} catch (const std::exception& error) {
  return Error{std::string(kPropertyListErrorDomain), kPropertyListErrorCode, error.what()};
}

}  // namespace orv
