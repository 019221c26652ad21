// The operating-system seam of the support utilities.
//
// Everything the utilities need from the system that is not plain C library
// or POSIX file access comes through here: the user's locale and languages,
// the processor family, the operating system's version, the per-user
// folders, the environment, private files and the clock. The logic above
// this seam keeps the documented result formats and fallbacks; this seam
// only finds the raw values, and leaves reading their text to SettingsText.
// One implementation per system (PlatformLinux.cpp on Linux).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "utils/SettingsText.h"

namespace Platform {

// The user's locale name without codeset and modifier ("en_US" from
// "en_US.UTF-8@euro"): the first non-empty of LC_ALL, LC_MESSAGES and LANG.
// Empty when none is set or the locale is "C" or "POSIX".
std::string UserLocale();

// The user's preferred languages as tags, most preferred first ("de-DE"):
// the entries of LANGUAGE when a locale is set, else the locale alone.
// Empty when the user has neither.
std::vector<std::string> UserLanguages();

// The processor type number of this machine: 7 for Intel, 12 for ARM, 18
// for PowerPC, 6 for 68k, 0 when unknown.
int ProcessorTypeCode();

// The processor type number for a `uname` machine name ("x86_64" gives 7).
int ProcessorTypeCodeForMachine(const std::string& machine);

// The operating system's product version (VERSION_ID of os-release, quotes
// removed). False when no release file names one.
bool ProductVersion(std::string* version);

// A product version read as numbers; missing or non-numeric parts are 0.
using VersionNumbers = SettingsText::VersionNumbers;

// The operating system's version as major.minor.patch.
VersionNumbers OperatingSystemVersion();

// The release files looked at, in order. Tests and tools point this at
// their own files; the default is /etc/os-release, then
// /usr/lib/os-release.
void SetOsReleaseFiles(std::vector<std::string> paths);

// The per-user temporary folder without a trailing "/": $TMPDIR when it is an
// absolute path, else /tmp/quorvel-<uid>, made private when missing. Empty
// when the default folder cannot be made or is not safely the user's own.
std::string TemporaryDirectory();

// The user's documents folder: XDG_DOCUMENTS_DIR of user-dirs.dirs, else
// $HOME/Documents. Empty when the user has no home folder.
std::string DocumentsDirectory();

// Makes `path` and its missing parents; an existing folder is success.
bool MakeDirectoryWithParents(const std::string& path);

// Makes `path` (parents as needed, the last folder mode 0700) and checks
// that it is a real folder, not a link, owned by this user and not writable
// by group or others. False when it is not, so nobody else can plant or
// read what we put there.
bool MakePrivateDirectory(const std::string& path);

// The value of the environment variable `name`; nullopt when it is not set
// (an empty value is returned as set). The one place that reads the
// environment, so tests and tools see every lookup go through here.
std::optional<std::string> EnvironmentVariable(const char* name);

// Opens `path` for writing only, never through a symbolic link planted in
// its place: created with mode 0600 when missing.
// `flags` adds open(2) flags (O_APPEND, O_TRUNC, O_EXCL). Returns the
// descriptor (close-on-exec), or -1 with errno set.
int CreatePrivateFile(const std::string& path, int flags);

// The current time in UTC as asctime writes it, without its line feed
// ("Sun Nov 15 01:13:58 2026", 24 characters). Empty when the clock cannot
// be read.
std::string UtcTimeStamp();

// Writes all of `data` to `fd`, going on after interruptions and short
// writes; false on any error (a closed pipe included).
bool WriteAll(int fd, const std::string& data);

} // namespace Platform
