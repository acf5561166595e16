#ifndef SCAPI_PROGRAMS_TEMPORARY_FOLDER_H
#define SCAPI_PROGRAMS_TEMPORARY_FOLDER_H

#include <filesystem>
#include <string>

/// A new folder where the system wants those for a while, removed with all in it.
struct TemporaryFolder {
    std::filesystem::path path; ///< empty when none could be made

    /// @param prefix  how its name begins, to tell whose it was where a process was killed
    explicit TemporaryFolder(const std::string& prefix);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
};

#endif
