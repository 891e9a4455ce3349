#pragma once

#include <orvnetwork/platform/Directories.h>

#include <string>

namespace orv {

/// The user's folders by the desktop's conventions, looked up at each call: the chosen home (`HomeFolder`), in which they
/// all lie, or the user's: `$HOME` before the password
/// database; `$TMPDIR`; library `$XDG_DATA_HOME` or `~/.local/share`; caches `$XDG_CACHE_HOME` or `~/.cache`;
/// documents what the user-dirs file says, else `~/Documents`. Relative values of variables are ignored.
class NativeDirectories final : public Directories {
 public:
  std::string home() override;
  std::string temporary() override;
  OptionalString searchPath(int code) override;
  OptionalString executableFolder() override;

 private:
  std::string documents();
};

}  // namespace orv
