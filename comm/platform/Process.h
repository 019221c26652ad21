// The operating-system seam of curl mode: running the transfer tool and
// making the files it reads and writes.
#pragma once

#include <string>

namespace Process {

// Runs `commandLine` through /bin/sh -c, as system() does, but with the
// caller's environment less the proxy variables (http_proxy, HTTP_PROXY,
// https_proxy, HTTPS_PROXY, no_proxy, NO_PROXY, all_proxy, ALL_PROXY), so
// that a proxy reaches the tool only through its command line. Blocks until
// the shell ends and returns its wait status as system() would: 127 << 8
// when the shell cannot be run, -1 when no process could be started.
int RunShellCommand(const std::string& commandLine);

// Creates `path` as a new empty file that only this user may read and write
// (mode 0600 whatever the umask), never through a symbolic link. Returns an
// open descriptor for writing, or -1 with errno set (EEXIST when the name is
// taken).
int CreateNewPrivateFile(const std::string& path);

// Writes all of `data` to `fd` and closes it. False when anything was not
// written (a full disk, a file size limit) or the close failed.
bool WriteWholeAndClose(int fd, const std::string& data);

} // namespace Process
