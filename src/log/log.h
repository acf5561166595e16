// A small text log of a host program: one file, named after the running module, opened and closed
// for every text. A log that cannot be opened is silently skipped.
#ifndef SCAPI_LOG_LOG_H
#define SCAPI_LOG_LOG_H

#include <string>

extern std::string LogPath;
extern int LogStarted;       ///< 0 until a log is started
extern int LogErrorsStarted; ///< 0 until the banner of the error log is written

/// Names the log after the running module, with the extension ".LOG" in place of all after the last
/// dot. A module without a dot keeps its name, and the running program cannot be written to.
void LogInit();

/// Each empties the log and writes a banner with its own title and the time.
void LogStartChook();
void LogStartMdl();
void LogStartMain();

/// Appends to a log that was started. The text is the format of the print: a host that wants a %
/// writes %%, and no directive may ask for an argument.
/// @return 0 when none was started, else 1, also when the file could not be opened
int LogAppend(const char* text);

/// Appends in all cases, after a banner of its own where no log was started. Text as above.
void LogError(const char* text);

#endif
