// Whatever the bytes: reading ends, and what was read can be written and reads back as the same value.

#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/PropertyList.h>

#include <tests/fuzz/Require.h>

namespace {

using namespace orv;
using orv::test::require;

/// The kind of a value and of all that it holds, for numbers keep theirs.
bool sameKinds(const json::value& left, const json::value& right) {
  if (left.kind() != right.kind()) return false;
  if (const json::array* items = left.if_array()) {
    for (std::size_t at = 0; at < items->size(); ++at) {
      if (!sameKinds((*items)[at], right.get_array()[at])) return false;
    }
  } else if (const json::object* members = left.if_object()) {
    for (const json::key_value_pair& member : *members) {
      if (!sameKinds(member.value(), right.get_object().at(member.key()))) return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const Result<json::value> result = readPropertyList({reinterpret_cast<const char*>(data), size});
  if (!result) {
    require(!result.error().description.empty(), "a failure says why");
    return 0;
  }
  const Result<std::string> written = writePropertyList(*result);
  if (!written) {
    // A few shared objects may stand for more than a text may have.
    require(written.error().description.ends_with("is too large for a property list"),
            "what was read can be written");
    return 0;
  }
  const Result<json::value> again = readPropertyList(*written);
  require(static_cast<bool>(again), "what was written can be read");
  require(sameJson(*result, *again), "what was written reads as the same value");
  require(sameKinds(*result, *again), "what was written reads as the same kinds");
  require(hashOfJson(*result) == hashOfJson(*again), "equal values have equal hashes");
  return 0;
}
