#ifndef SCAPI_FILES_REPLACEMENT_H
#define SCAPI_FILES_REPLACEMENT_H

#include <string>

#include "platform/files.h"

/// A file that is to take the place of another, or a free one, at once: no reader meets it half
/// written, and until it is whole the old file stands. Where that cannot be (the folder takes no
/// new file, or the place is a link or no plain file) it is written in place.
struct Replacement {
    File file; ///< null when there is nowhere to write
    std::string place;
    std::string temporary; ///< the file's own name meanwhile; empty when it is written in place

    explicit Replacement(const char* path);
    /// Without a TakePlace the temporary file is removed.
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
};

/// Closes the file and gives it its place. @return false when it could not be closed or given its
/// place: what stood there stays
bool TakePlace(Replacement& replacement);

#endif
