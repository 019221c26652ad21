// The mark on the support library's public classes and functions.
//
// The shared library is built with hidden visibility, so only names carrying
// `QUORVEL_EXPORT` are part of its interface; everything else, the platform
// seam included, stays private to it and may change between releases. The
// same mark serves builds that use the library and the static build the
// tests link, where it has no effect.
#pragma once

#if defined(__GNUC__) || defined(__clang__)
#define QUORVEL_EXPORT __attribute__((visibility("default")))
#else
#define QUORVEL_EXPORT
#endif
