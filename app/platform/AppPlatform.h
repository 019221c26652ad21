// The operating-system seam of the companion app.
//
// Everything the app needs from the system comes through here: how the
// package installer started it (and so who may be asked), whether a display
// may be there, the pipes to debconf, the controlling terminal, the files of
// its bundle and the few it touches in /tmp (which anyone can write to),
// the panel plug-in and the log. The logic above this seam keeps the
// documented operations and messages; this seam only knows the conventions
// of the system underneath (Debian's package managers, Qt's platform
// variable, POSIX files, syslog). Environment lookups go through the shared
// Platform::EnvironmentVariable. One implementation per system
// (AppPlatformLinux.cpp); the app and the panel plug-in both link it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "utils/platform/Platform.h"

namespace AppPlatform {

// How a package manager started the app, if at all.
enum class Installer {
    kNone,             // no package manager: a person, a script, a desktop installer
    kDebconf,          // a maintainer script that talks to debconf (DEBIAN_HAS_FRONTEND)
    kMaintainerScript, // a maintainer script without debconf (DPKG_MAINTSCRIPT_PACKAGE)
};

// The package manager around this process, from its environment.
Installer CurrentInstaller();

// True when debconf shows questions again even when they were seen
// (dpkg-reconfigure sets DEBCONF_RECONFIGURE).
bool DebconfReshowsQuestions();

// True when the environment says that nobody may be asked
// (DEBIAN_FRONTEND=noninteractive).
bool NobodyMayBeAsked();

// True when a window system may be there (DISPLAY, WAYLAND_DISPLAY or
// QT_QPA_PLATFORM set). Whether it really opens is only known by trying.
bool MayHaveDisplay();

// The Qt platforms to try for a display, as QT_QPA_PLATFORM lists them
// ("wayland;xcb"): the list the user set, else native Wayland on a Wayland
// session, then X11.
std::string DisplayPlatforms();

// Makes `platforms` the list Qt tries when it starts in this process.
void SetDisplayPlatforms(const std::string& platforms);

// The two ends of the debconf protocol as a maintainer script hands them
// down: commands to fd 3 when debconf redirected the script's output
// (DEBCONF_REDIR), else to stdout; replies on stdin.
struct DebconfPipes {
    int commands = -1;
    int replies = -1;
};

// The pipes to a running debconf; nullopt when they cannot be debconf's
// (stdin is a terminal, or fd 3 is not open). From then on a debconf that
// goes away makes writes fail instead of ending the process (SIGPIPE).
std::optional<DebconfPipes> DebconfChannel();

// Writes all of a text to a descriptor (the debconf pipe, the terminal);
// the one implementation the library's process seam uses too.
using Platform::WriteAll;

// Reads one line (without its newline) from `fd` a byte at a time, so that
// nothing meant for whoever reads after us is taken. Waits at most
// `timeoutMs` for the line to start (-1: no limit). Nullopt on end of
// input, an error or the timeout.
std::optional<std::string> ReadLine(int fd, int timeoutMs);

// Whether debconf's frontend program is installed.
bool HasDebconfFrontend();

// Runs `arguments` as a confmodule under debconf's frontend program, as
// debconf's own confmodule library does when no frontend is running yet,
// and waits for it. Returns the frontend's exit status, or -1 when it could
// not be started or ended by a signal.
int RunUnderDebconfFrontend(const std::vector<std::string>& arguments);

// The running executable's full path, links resolved (empty when unknown):
// where the companion's own files are.
std::string ExecutablePath();

// The path the program was started from, as absolute path with its folders
// resolved but the last name kept: a product's bundle may hold a link to
// the companion's executable, and that bundle is the one to read. Falls
// back to ExecutablePath().
std::string LaunchPath();

// The controlling terminal opened for reading and writing, or -1 when the
// process has none. Read it with ReadLine, write it with WriteAll.
int OpenTerminal();

// The width of the terminal at `fd` in columns; 80 when it is not known.
int TerminalColumns(int fd);

// Closes a descriptor that OpenTerminal gave.
void CloseTerminal(int fd);

// True when `path` is a regular file (links followed: a bundle may be
// assembled from links).
bool IsRegularFile(const std::string& path);

// True when `path` is a folder (links followed).
bool IsDirectory(const std::string& path);

// Loads the shared object at `path` for the rest of the process and returns
// its entry point `symbol`; null, with the loader's reason in `error`, when
// either cannot be found.
void* LoadPluginEntry(const std::string& path, const char* symbol, std::string* error);

// Writes one log line: on stderr as
// "YYYY-MM-DD HH:MM:SS.mmm <program>[<pid>] <text>", and `text` to syslog.
void WriteLogLine(const std::string& text);

// Reads the file at `path` into `bytes` only when it is a regular file of
// at most `maxBytes`, never following a symbolic link and never waiting on
// a FIFO or device. False otherwise.
bool ReadSmallRegularFile(const std::string& path, std::size_t maxBytes, std::string* bytes);

// Puts an empty file at `path` through a private temporary file in the same
// folder renamed over it, so nothing planted there (a link, a FIFO, a file)
// can block or redirect the write. False when it could not be done.
bool ReplaceWithEmptyFile(const std::string& path);

// Removes what is at `path` unless it is a folder; a symbolic link is
// removed itself, never its target.
void RemoveUnlessFolder(const std::string& path);

} // namespace AppPlatform
