#include "mesh_check.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "gcode_block.h"
#include "scapi/scapi.h"
#include "support/paths.h"
#include "support/temporary_folder.h"

namespace check
{
namespace
{

namespace fs = std::filesystem;

fs::path CacheOf(fs::path stl) { return stl.replace_extension("SLD"); }

std::int64_t CountTriangles()
{
    std::int64_t count = 0;
    int cursor = 0;
    float corners[3][3];
    for (;;) {
        if (SCAPI_GetTriangles(0, &cursor, corners, nullptr) != 0 || cursor == SCAPI_END_OF_WALK)
            return count;
        ++count;
    }
}

/// The copy keeps its time, by which the cache is judged. A current cache is left as it is, an
/// outdated one is replaced.
CoreLoad LoadCopy(const std::string& path)
{
    CoreLoad load;
    const TemporaryFolder folder("scapi-check");
    std::error_code error;
    const fs::path source = ToPath(path), beside = CacheOf(source);
    const fs::path stl = folder.path / "mesh.stl", cache = CacheOf(stl);
    fs::copy_file(source, stl, error);
    if (!error) fs::last_write_time(stl, fs::last_write_time(source, error), error);
    const bool has = fs::is_regular_file(beside, error) && !fs::equivalent(beside, source, error);
    const fs::file_time_type old{};
    if (has) {
        fs::copy_file(beside, cache, error);
        fs::last_write_time(cache, old, error);
    }
    std::string name = ToUtf8(stl);
    load.code = SCAPI_LoadSTL(0, reinterpret_cast<unsigned char*>(name.data()), 0);
    load.triangles = CountTriangles();
    const bool kept = has && fs::last_write_time(cache, error) == old;
    load.cache = !has ? "none" : kept ? "current" : "outdated";
    SCAPI_Close();
    return load;
}

const char* MeaningOf(int code)
{
    switch (code) {
    case SCAPI_SUCCESS:
        return "loads";
    case SCAPI_NOT_WRITTEN:
        return "loads, without a cache";
    case SCAPI_OPEN_SIDE:
        return "refused: not closed";
    case SCAPI_UNREADABLE:
        return "refused: unreadable";
    default:
        return "refused";
    }
}

std::string Size(const double extent[3], double scale)
{
    std::string out;
    for (int i = 0; i < 3; ++i)
        out += (i ? " x " : "") + FormatNumber(std::round(extent[i] * scale * 1000) / 1000);
    return out;
}

std::string Places(const scapi_finding& finding)
{
    std::string out;
    for (int i = 0; i < SCAPI_PLACES && finding.facet[i] >= 0; ++i) {
        const double* p = finding.point[i];
        out += "      facet " + std::to_string(finding.facet[i]) + " at " + FormatNumber(p[0]) +
               " " + FormatNumber(p[1]) + " " + FormatNumber(p[2]) + "\n";
    }
    if (finding.count > SCAPI_PLACES)
        out += "      and " + std::to_string(finding.count - SCAPI_PLACES) + " more\n";
    return out;
}

} // namespace

bool MeshReport::IsFaulty() const
{
    const bool placed =
        std::any_of(std::begin(kMeshFaults), std::end(kMeshFaults),
                    [&](auto& fault) { return (diagnosis.*fault.finding).count > 0; });
    return placed || !diagnosis.closed || diagnosis.inside_out || diagnosis.inverted_shells > 0;
}

bool CheckMesh(const std::string& path, MeshReport& report, Problems& problems)
{
    report.path = path;
    scapi_mesh* made = nullptr;
    scapi_mesh_report failure{};
    const int code = scapi_mesh_from_stl(path.c_str(), nullptr, &failure, &made);
    report.mesh.reset(made);
    if (code != SCAPI_OK) {
        const std::string facet =
            failure.facet >= 0 ? " (facet " + std::to_string(failure.facet) + ")" : "";
        problems.push_back({path, 0, "", scapi_error_text(code) + facet});
        return false;
    }
    scapi_diagnose_options options{};
    options.size = sizeof options;
    options.flags = SCAPI_SELF_CROSSINGS;
    scapi_diagnose(made, &options, &report.diagnosis);
    report.core = LoadCopy(path);
    return true;
}

std::string MeshText(const MeshReport& report)
{
    const scapi_diagnosis& d = report.diagnosis;
    const auto row = [](const std::string& name, const std::string& value) {
        return "  " + name + std::string(name.size() < 24 ? 24 - name.size() : 1, ' ') + value +
               "\n";
    };
    std::string out = report.path + ": " + (report.IsFaulty() ? "faulty" : "sound") + "\n";
    out +=
        row("triangles", std::to_string(d.triangles) + ", vertices " + std::to_string(d.vertices));
    out += row("size in mm",
               Size(d.extent, 1) + "; if the unit is an inch " + Size(d.extent_if_inches, 1));
    out += row("closed", d.closed ? d.inside_out ? "yes, but inside out" : "yes" : "no");
    out += row("shells", std::to_string(d.shells) + ", inside out " +
                             std::to_string(d.inverted_shells) + ", nested " +
                             std::to_string(d.nested_shells));
    if (d.closed) out += row("volume", FormatNumber(d.volume));
    for (const MeshFault& fault : kMeshFaults) {
        const scapi_finding& finding = d.*fault.finding;
        if (finding.count == 0) continue;
        out += row(fault.name, std::to_string(finding.count)) + Places(finding);
    }
    if (!d.self_crossings_complete)
        out += row("self crossings", "too many tests: not all were looked for");
    out +=
        row("SCAPI_LoadSTL", std::to_string(report.core.code) + ", " + MeaningOf(report.core.code));
    out += row("refined", std::to_string(d.triangles) + " triangles become " +
                              std::to_string(report.core.triangles));
    out += row("cache beside the file", report.core.cache);
    return out;
}

std::string MeshJson(const std::vector<MeshReport>& reports)
{
    using Json = nlohmann::ordered_json;
    Json out = Json::array();
    for (const MeshReport& report : reports) {
        const scapi_diagnosis& d = report.diagnosis;
        Json row;
        row["file"] = report.path, row["faulty"] = report.IsFaulty();
        row["triangles"] = d.triangles, row["vertices"] = d.vertices;
        row["extent"] = d.extent, row["extent_if_inches"] = d.extent_if_inches;
        row["closed"] = d.closed != 0, row["inside_out"] = d.inside_out != 0;
        row["shells"] = d.shells, row["inverted_shells"] = d.inverted_shells;
        row["nested_shells"] = d.nested_shells, row["volume"] = d.volume, row["area"] = d.area;
        row["self_crossings_complete"] = d.self_crossings_complete != 0;
        for (const MeshFault& fault : kMeshFaults) {
            const scapi_finding& finding = d.*fault.finding;
            Json places = Json::array();
            for (int i = 0; i < SCAPI_PLACES && finding.facet[i] >= 0; ++i)
                places.push_back({{"facet", finding.facet[i]}, {"point", finding.point[i]}});
            row["faults"][fault.name] = {{"count", finding.count}, {"places", places}};
        }
        row["load"] = {{"code", report.core.code},
                       {"meaning", MeaningOf(report.core.code)},
                       {"triangles_before", d.triangles},
                       {"triangles_after", report.core.triangles},
                       {"cache", report.core.cache}};
        out.push_back(row);
    }
    return out.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace check
