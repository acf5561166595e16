#include "files/load_policy.h"

#include <string>

#include "files/file_info.h"
#include "files/stl_stream.h"
#include "files/swap_marker.h"
#include "mesh/finish.h"
#include "platform/files.h"
#include "scapi/scapi.h"

namespace
{

unsigned char* Bytes(std::string& path) { return reinterpret_cast<unsigned char*>(path.data()); }

/// A cache file is current when the source's time is the one it was made from: "Equal, not newer"
/// and "Timeless marker" in docs/behaviour.md.
bool IsCurrent(const SOLIDC& solid, const char* path)
{
    return GetFileModTime(path) == solid.sourceTime && solid.fileVersion == kFormatVersion;
}

/// @return whether the cache file serves the wish of the host
bool LoadFromCache(SOLIDC& solid, const char* path, std::string& sldPath, int simple)
{
    const int result = solid.SC_LoadSLDfile(Bytes(sldPath));
    // "Zeros for a simple wish" in docs/behaviour.md.
    if (result == SCAPI_DAMAGED_SIMPLE_FILE && simple == 1) return IsCurrent(solid, path);
    // A simple solid cannot serve where a full one is wanted; a full one serves both.
    if (solid.isSimple == 1 && simple == 0) return false;
    return result == 0 && IsCurrent(solid, path);
}

/// A marker goes with the extension: "Shared name" in docs/behaviour.md.
std::string SldPathFor(const char* path)
{
    std::string sldPath = path;
    ChangePathExtension(sldPath, "SLD", true);
    return sldPath;
}

/// Whether writing the cache would overwrite the source.
bool IsSource(const std::string& sldPath, const char* path)
{
    const std::string source = StlStripSwapMarker(path);
    return source == sldPath || AreSameFile(source.c_str(), sldPath.c_str());
}

} // namespace

int LoadThroughCache(SOLIDC& solid, unsigned char* path, int simple)
{
    const auto* name = reinterpret_cast<const char*>(path);
    std::string sldPath = SldPathFor(name);
    const bool caches = FitsStlPath(name) && !IsSource(sldPath, name);
    if (caches && LoadFromCache(solid, name, sldPath, simple)) return 0;
    const int result = solid.SC_LoadSTLfile(path, simple);
    if (!caches || (result != 0 && result != SCAPI_DAMAGED_SIMPLE_FILE)) return result;
    return solid.SC_SaveSLDfile(Bytes(sldPath));
}
