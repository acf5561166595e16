// A cache file of any content behind a right version, current for its source.
#include <fstream>

#include "files/file_info.h"
#include "files/sld_layout.h"
#include "host.h"
#include "mesh/finish.h"
#include "support/meshes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices{data, size};
    const int simple = choices.Of(3);
    static const std::string source = BinaryStl(BoxMesh({0, 0, 0}, {1, 1, 1}));
    std::string path = FreshFile("m.stl", source.data(), source.size());
    const std::int32_t head[] = {GetFileModTime(path.c_str()), kFormatVersion};
    std::ofstream cache(path.substr(0, path.size() - 3) + "SLD", std::ios::binary);
    cache << std::string(kSldHeaderBytes, ' ');
    cache.write(reinterpret_cast<const char*>(head), sizeof head);
    cache.write(reinterpret_cast<const char*>(choices.at),
                static_cast<std::streamsize>(choices.left));
    cache.close();
    RequireResult(SCAPI_LoadSTL(0, reinterpret_cast<unsigned char*>(path.data()), simple), {0});
    UseAsHost(choices);
    return 0;
}
