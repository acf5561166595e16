#include "support/temporary_folder.h"

#include <random>
#include <system_error>

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder(const std::string& prefix)
{
    constexpr int kTries = 100; // a name is taken only by accident
    std::random_device random;
    std::error_code failed;
    const fs::path base = fs::temp_directory_path(failed);
    for (int i = 0; i < kTries && path.empty() && !failed; ++i) {
        const fs::path tried = base / (prefix + "-" + std::to_string(random()));
        if (fs::create_directory(tried, failed)) path = tried;
    }
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    if (!path.empty()) fs::remove_all(path, ignored);
}
