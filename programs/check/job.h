// What is to be checked, read from a job file and the files that it names.
#ifndef SCAPI_CHECK_JOB_H
#define SCAPI_CHECK_JOB_H

#include "path.h"
#include "piece.h"
#include "rules.h"
#include "shape.h"

namespace check
{

struct Body {
    std::string name;
    Group group = Group::kMachine;
    Side side = Side::kBase;
    std::int32_t tool = -1; ///< only with this tool in the spindle; -1: always
    bool surface = false;   ///< nothing is inside of it, by the word of the job
    bool closed = true;     ///< of its mesh
    MeshPtr mesh;
    BodyFrame frame;
    double radius = 0; ///< half the diagonal of its box
};

struct Tool {
    int number = 0;
    std::string name;
    double length = 0; ///< from the gauge point to the tip, mm
};

struct Settings {
    double tolerance = 0.001; ///< mm: nearer counts as contact
    double precision = 0.001; ///< mm: contact may be told from this much farther away
    double chord = 0.005;     ///< mm: round bodies reach at most so far outside of the true ones
    double limit = 1;         ///< mm: less clearance is a warning
    double range = 2;         ///< mm: up to here clearance is measured; not below the limit
    bool dogLeg = true;       ///< rapids take each axis at its own speed
    bool blockDelete = false; ///< blocks that begin with / are left out
};

struct Job {
    std::string path, name;
    Machine machine;
    std::vector<Body> bodies;
    std::vector<Tool> tools;
    std::vector<double> lengths;       ///< by H number, mm; NaN: none
    std::array<Position, 6> offsets{}; ///< G54 to G59
    double programUnit = 1;            ///< mm, until G20 or G21
    Position start{};
    std::int32_t startTool = -1;
    Rules rules;
    Settings settings;
    std::string programPath;
    bool isTable = false; ///< the program is a table of axis positions
    Program program;
    std::uint64_t digest = 0xcbf29ce484222325; ///< of all that was read, to tell jobs apart
};

/// Goes on with a digest (FNV-1a).
void Digest(std::uint64_t& digest, const void* bytes, std::size_t count);

/// Reads a job, its machine, its meshes and its program.
/// @return whether it can be checked; else problems say what is wrong
bool ReadJob(const std::string& path, Job& job, Problems& problems);

} // namespace check

#endif
