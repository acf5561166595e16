#ifndef SCAPI_PLATFORM_SCAN_H
#define SCAPI_PLATFORM_SCAN_H

/// sscanf of "%*s %f %f %f" in the C locale, whatever locale the host has set: skips a word, then
/// reads three numbers; one that cannot be read leaves its target and those behind it as they were.
void ScanThreeNumbers(const char* text, float* numbers);

#endif
