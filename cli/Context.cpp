#include "cli/Context.h"

namespace orv::cli {

Host& Context::host() {
  if (!host_) host_ = std::make_unique<Host>(options);
  return *host_;
}

}  // namespace orv::cli
