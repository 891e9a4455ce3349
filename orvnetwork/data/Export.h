#pragma once

/// Marks what the shared library shows to its hosts: classes and functions that are not wholly in a header. All
/// else stays hidden, so that nobody comes to depend on it. It changes nothing in a static build.
#define ORV_EXPORT __attribute__((visibility("default")))
