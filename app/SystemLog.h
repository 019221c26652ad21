// The app's log: one line on stderr,
// "YYYY-MM-DD HH:MM:SS.mmm <program>[<pid>] <text>", and the same text to
// syslog. Lines start "[i] " for information and "<!> " for a fault.
#pragma once

// printf-style formatting of one log line.
void NSLog(const char* format, ...) __attribute__((format(printf, 1, 2)));
