#ifndef SCAPI_FILES_SCAN_NUMBERS_H
#define SCAPI_FILES_SCAN_NUMBERS_H

#include <string_view>

/// Reads a word, which is ignored, and three numbers: as glibc's sscanf of "%*s %f %f %f" does in
/// the C locale, on every platform and in every locale that the host may have set. A zero byte ends
/// the text.
/// @param numbers  three floats, each rounded once; the first that cannot be read and those after
///                 it keep their values
void ScanThreeNumbers(std::string_view text, float* numbers);

#endif
