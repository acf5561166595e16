#ifndef SCAPI_FILES_STL_TEXT_H
#define SCAPI_FILES_STL_TEXT_H

#include "files/read_buffer.h"

/// Reads a line at most as long as the text form allows, cut at its first zero byte; at the end of
/// the file `line` stays as it is.
void NextLine(StlReadBuffer& buffer, std::string_view& line);

/// Takes the seven lines of a facet. No line may be missing, added or blank, but what else stands
/// on a line, and the case of letters, does not matter.
/// @return whether it has the lines of a facet; the numbers are stored as far as they can be read
bool TakeTextFacet(StlReadBuffer& buffer, float* normal, float* corners);

#endif
