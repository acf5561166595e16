// Runs a target over files, and over all files in folders, without a fuzzing engine.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments)
{
    int files = 0;
    for (int i = 1; i < count; ++i) {
        if (!std::filesystem::exists(arguments[i])) continue;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(arguments[i])) {
            if (!entry.is_regular_file()) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            const std::string input(std::istreambuf_iterator<char>(in), {});
            std::printf("%s\n", entry.path().string().c_str());
            std::fflush(stdout);
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()),
                                   input.size());
            ++files;
        }
    }
    std::printf("%d inputs\n", files);
    return files ? 0 : 1;
}
