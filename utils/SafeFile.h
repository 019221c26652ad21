// Opening the files the library writes without following a symbolic link
// that someone may have planted in their place.
#pragma once

#include <cstdio>
#include <string>

namespace Utils {

// Opens `path` for writing, created with mode 0600 when missing: appending
// when `append` is true, else truncated. Null when it cannot be opened or
// is a symbolic link.
std::FILE* OpenForWritingNoFollow(const std::string& path, bool append);

} // namespace Utils
