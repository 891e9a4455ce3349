#pragma once

/// Marks what the shared library makes visible. Everything else stays hidden.
#define ORV_EXPORT __attribute__((visibility("default")))
