// A text log of the host program: one file, named after the running module, opened and closed for
// every text, so that a crash of the host loses none. Texts are dropped without notice when it
// cannot be opened.
#ifndef SCAPI_LOG_LOG_H
#define SCAPI_LOG_LOG_H

#include <string>

extern std::string LogPath;
extern int LogStarted;       ///< 0 until a log is started
extern int LogErrorsStarted; ///< 0 until the banner of the error log is written

/// Sets LogPath to the path of the running module with everything from its last dot replaced by
/// ".LOG", or to "LOG.LOG" when the module is unknown. A module path without a dot stays as it is
/// (docs/behaviour.md, unnamed log): the log is then the program file, which cannot be opened for
/// writing while it runs.
void LogInit();

/// Each replaces the log by a banner with its own title and the local time.
void LogStartChook();
void LogStartMdl();
void LogStartMain();

/// Appends to a log that was started. The log format (docs/behaviour.md): the text is printed as a
/// printf format without arguments.
/// @pre     every % in the text is doubled
/// @return  0 when no log was started, else 1, even when the file cannot be opened
int LogAppend(const char* text);

/// Appends even when no log was started, after a banner of its own the first time. Text as above.
void LogError(const char* text);

#endif
