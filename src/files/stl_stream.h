// Facets of an STL file, one at a time. The form is decided by a trial of the first facets, never
// by a keyword, a header or a length.
#ifndef SCAPI_FILES_STL_STREAM_H
#define SCAPI_FILES_STL_STREAM_H

#include <cstdint>

#include "scapi/records.h"

enum StlMode : std::int32_t { kReadText = 0, kReadBinary = 1, kWriteText = 2, kWriteBinary = 3 };

/// Whether a path fits into StlStream::path. One that does not is never cut short: it names no
/// file.
bool FitsStlPath(const char* path);

/// Stores a path in a stream. @return false, with an empty path stored, when it does not fit
bool SetStlPath(StlStream& stream, const char* path);

/// Opens stream.path at its first facet. Text needs three good facets; binary as many as its header
/// claims, three at most.
/// @param count  takes stream.facetCount
/// @return 1 with stream.file open, or 0 with it null
int StlOpenRead(StlStream& stream, std::int32_t* count);

/// Reads the next facet. Coordinates must be finite and below 100000, without a limit downwards;
/// the normal is clamped to -1 and 1, never refused.
/// @param normal   three floats, or null
/// @param corners  nine floats; those that a text facet does not give stay as they were
/// @return 1, or 0 for a bad facet and at the end of the file
int StlReadFacet(StlStream& stream, float* normal, float* corners);

/// Creates stream.path, without its marker, and writes the head of the file.
/// @param mode  kWriteBinary; anything else writes text
/// @return 1 with stream.file open, or 0 with it null
int StlOpenWrite(StlStream& stream, int mode);

/// Writes a facet and counts it.
/// @param normal, corners  three and nine floats
/// @return 1, or 0 when not all was written, nothing is open or a pointer is null
int StlWriteFacet(StlStream& stream, const float* normal, const float* corners);

/// Writes what ends a file: the count of a binary one, the last line of a text one.
void StlFinishWrite(StlStream& stream);

/// Finishes a file that is being written, and closes what is open, if anything is.
void StlClose(StlStream& stream);

/// Closes what a call left open that was unwound by the handler of failed allocations.
void StlAbandon(StlStream& stream);

#endif
