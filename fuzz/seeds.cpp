// Writes the small inputs that fuzzing starts from, a folder for each target.
#include <filesystem>
#include <fstream>
#include <random>

#include "scapi/scapi.h"
#include "support/meshes.h"

namespace
{

void Write(const std::filesystem::path& path, const std::string& content)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

/// The bytes of a cache file behind time and version.
std::string CacheOf(const std::string& stl, int simple)
{
    TemporaryFile file(stl);
    SCAPI_LoadSTL(0, file.Path(), simple);
    return ReadFile(file.path.substr(0, file.path.size() - 3) + "SLD").substr(1032);
}

} // namespace

int main(int, char** arguments)
{
    const std::filesystem::path folder = arguments[1];
    Mesh flipped = BoxMesh({0, 0, 0}, {1, 2, 3}), open = flipped;
    std::swap(flipped[0][0], flipped[0][1]);
    open.pop_back();
    const Mesh meshes[] = {BoxMesh({0, 0, 0}, {9, 1, 0.5f}), SphereMesh(6, 5), flipped, open,
                           SoupMesh(1, 5, 3)};
    int number = 0;
    for (const Mesh& mesh : meshes)
        for (char simple = 0; simple < 2; ++simple) {
            const std::string name = std::to_string(number++), head = {simple, 7};
            Write(folder / "stl" / (name + "t"), head + TextStl(mesh));
            Write(folder / "stl" / (name + "b"), head + BinaryStl(mesh));
            Write(folder / "sld" / name, head.substr(0, 1) + CacheOf(BinaryStl(mesh), simple));
        }
    std::mt19937 random(1);
    for (number = 0; number < 20; ++number)
        for (const char* target : {"calls", "twin", "proximity_calls", "proximity_twin"}) {
            std::string bytes(400, 0);
            for (char& byte : bytes) byte = static_cast<char>(random());
            Write(folder / target / std::to_string(number), bytes);
        }
    return 0;
}
