#include "utils/SafeFile.h"

#include <fcntl.h>
#include <unistd.h>

namespace Utils {

std::FILE* OpenForWritingNoFollow(const std::string& path, bool append) {
    const int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | (append ? O_APPEND : O_TRUNC);
    const int fd = open(path.c_str(), flags, 0600);
    if (fd < 0) {
        return nullptr;
    }
    std::FILE* file = fdopen(fd, append ? "a" : "wb");
    if (file == nullptr) {
        close(fd);
    }
    return file;
}

} // namespace Utils
