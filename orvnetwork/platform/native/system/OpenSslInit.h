#pragma once

namespace orv {

/// To be called before anything else of OpenSSL: keeps it from tearing itself down at exit, while the
/// library's threads may still be in it. Cheap after the first call. Any thread.
void initOpenSsl();

}  // namespace orv
