#ifndef SCAPI_CHECK_READ_FILE_H
#define SCAPI_CHECK_READ_FILE_H

#include <fstream>

#include "problems.h"
#include "support/paths.h"

namespace check
{

/// The bytes of a file. @return whether all could be read; else a problem
inline bool ReadFile(const std::string& path, std::string& text, Problems& problems)
{
    std::ifstream in(ToPath(path), std::ios::binary);
    char block[65536];
    while (in.read(block, sizeof block) || in.gcount() > 0)
        text.append(block, static_cast<std::size_t>(in.gcount()));
    if (in.eof() && !in.bad()) return true;
    problems.push_back({path, 0, "", "cannot be read"});
    return false;
}

} // namespace check

#endif
