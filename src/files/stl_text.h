#ifndef SCAPI_FILES_STL_TEXT_H
#define SCAPI_FILES_STL_TEXT_H

#include "files/read_buffer.h"

/// Reads a line at most as long as the text form allows, cut at its first zero byte; at the end of
/// the file `line` stays as it is.
void NextLine(StlReadBuffer& buffer, std::string_view& line);

/// Takes the lines of a facet: normal, loop, three vertices, any line, the end of the facet. What
/// else stands on a line, and the case of letters, does not matter. A line that is no vertex takes
/// the place of those that were to come, which keep what the facet before left in them.
/// @return whether it has the lines of a facet; the numbers are stored as far as they can be read
bool TakeTextFacet(StlReadBuffer& buffer, float* normal, float* corners);

#endif
