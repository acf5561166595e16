#ifndef SCAPI_PROGRAMS_TERMINAL_H
#define SCAPI_PROGRAMS_TERMINAL_H

#include <string>

/// From now on texts go out as the bytes that they are, on Windows too: UTF-8, lines that end in
/// LF. A console is set to show them, until the program ends.
void PrepareStreams();

/// Writes a line to standard error in place of the one that it wrote last, whose place an empty one
/// clears. Nothing is written where that is no terminal.
/// @param line  UTF-8, shorter than the terminal is wide
void ShowLine(const std::string& line);

#endif
