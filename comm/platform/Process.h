// The operating-system seam of curl mode: running the transfer tool through
// the shell, reading how it ended, and making the files it reads and writes.
#pragma once

#include <string>

namespace Process {

// How a command run through the shell ended.
struct ShellStatus {
    // The wait status as system() reports it: 0 when the command exited
    // with 0, -1 when it could not be waited for.
    int waitStatus = -1;
    // The code the command exited with; 0 when a signal ended it, -1 when
    // there is no status. For every status a wait can give this is
    // `waitStatus >> 8`, the reading curl mode logs and maps to its result.
    int exitCode = -1;
    // The signal that ended the command, 0 when none did.
    int signal = 0;
};

// Reads a wait status as waitpid() and system() give it.
ShellStatus DecodeWaitStatus(int waitStatus);

// Runs `commandLine` through /bin/sh -c, as system() does, but with the
// caller's environment less the proxy variables (http_proxy, HTTP_PROXY,
// https_proxy, HTTPS_PROXY, no_proxy, NO_PROXY, all_proxy, ALL_PROXY), so
// that a proxy reaches the tool only through its command line. Blocks until
// the shell ends. A shell that cannot be started reads as exit code 127, as
// system() reports it.
ShellStatus RunShellCommand(const std::string& commandLine);

// What became of a request to create a new file.
enum class NewFile { Created, NameTaken, Failed };

// Creates `path` as a new file holding all of `content`, which only this
// user may read and write (mode 0600 whatever the umask), never through a
// symbolic link. NameTaken when something has the name already; Failed on
// any other error, a short write included (the file is then removed, so no
// half-written document is left to be sent).
NewFile CreatePrivateFileWith(const std::string& path, const std::string& content);

} // namespace Process
