#ifndef SCAPI_PROGRAMS_ARGUMENTS_UTF8_H
#define SCAPI_PROGRAMS_ARGUMENTS_UTF8_H

#include <string>
#include <vector>

/// The arguments of a program in UTF-8, as the libraries take paths, its own name first. On Windows
/// they come from the system as it holds them, for those of main() have lost what the code page
/// lacks; elsewhere they are those of main() as they are.
std::vector<std::string> Utf8Arguments(int count, char** arguments);

#endif
