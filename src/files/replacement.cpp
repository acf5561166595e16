#include "files/replacement.h"

Replacement::Replacement(const char* path) : place(path)
{
    if (IsReplaceable(path)) file.reset(CreateBeside(path, temporary));
    if (!file) file.reset(OpenForWriting(path));
}

Replacement::~Replacement()
{
    file.reset(); // some systems remove no file that is open
    if (!temporary.empty()) RemoveFile(temporary.c_str());
}

bool TakePlace(Replacement& replacement)
{
    const bool closed = std::fclose(replacement.file.release()) == 0;
    if (replacement.temporary.empty() || !closed) return closed;
    if (!MoveOver(replacement.temporary.c_str(), replacement.place.c_str())) return false;
    replacement.temporary.clear();
    return true;
}
