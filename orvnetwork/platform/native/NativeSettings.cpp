#include "orvnetwork/platform/native/NativeSettings.h"

#include <orvnetwork/data/LocaleName.h>

#include <cstdlib>

namespace orv {

std::string localeNameOfVariable(std::string_view value) {
  return plainLocaleName(value);
}

std::string nativeLocaleName() {
  for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return localeNameOfVariable(value);
  }
  return localeNameOfVariable("");
}

}  // namespace orv
