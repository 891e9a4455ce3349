#pragma once

#include <orvnetwork/data/Export.h>

#include <string_view>

/// @file
/// The version of the library. This file is where it stands; everything else (the name of the shared library, the CMake
/// package, the pkg-config files, the Debian packages) takes it from here.
///
/// While the first number is 0, versions with the same second number are compatible in both directions of a build: a
/// program that was built with 0.1.0 runs with 0.1.7. Others are not, and have another name: `liborvnetwork.so.0.1`.
///
/// @code
/// #if ORV_VERSION_NUMBER < ORV_MAKE_VERSION(0, 2, 0)
///   // for older headers
/// #endif
/// if (orv::libraryVersion() != ORV_VERSION_TEXT) { /* built with other headers than the library that runs */ }
/// @endcode

#define ORV_VERSION_MAJOR 0
#define ORV_VERSION_MINOR 1
#define ORV_VERSION_PATCH 0

/// A version as one number that can be compared, in code and by the preprocessor.
#define ORV_MAKE_VERSION(major_number, minor_number, patch_number) \
  ((major_number)*1000000 + (minor_number)*1000 + (patch_number))
/// The version of these headers as a number.
#define ORV_VERSION_NUMBER ORV_MAKE_VERSION(ORV_VERSION_MAJOR, ORV_VERSION_MINOR, ORV_VERSION_PATCH)
/// The version of these headers as a text: "0.1.0".
#define ORV_VERSION_TEXT                \
  ORV_VERSION_QUOTED(ORV_VERSION_MAJOR) \
  "." ORV_VERSION_QUOTED(ORV_VERSION_MINOR) "." ORV_VERSION_QUOTED(ORV_VERSION_PATCH)
/// @cond
#define ORV_VERSION_QUOTED(number) ORV_VERSION_QUOTED_AS_IT_IS(number)
#define ORV_VERSION_QUOTED_AS_IT_IS(number) #number
/// @endcond

namespace orv {

/// The version of the library that runs, such as "0.1.0"; that of the headers that a program was built with is
/// `ORV_VERSION_TEXT`. May be called on any thread; the text lasts as long as the program.
ORV_EXPORT std::string_view libraryVersion() noexcept;

}  // namespace orv
