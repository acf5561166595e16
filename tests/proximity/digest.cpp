// Prints one number over verdicts, intervals and witnesses of many queries. It is the same with
// every compiler and on every platform: what differs is an error, or a change that CHANGELOG.md
// names. Usage: proximity_digest [EXPECTED]
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support.h"

namespace
{

std::uint64_t digest = 14695981039346656037u;

template <class Word>
void Add(Word word)
{
    unsigned char bytes[sizeof word];
    std::memcpy(bytes, &word, sizeof word);
    for (const unsigned char byte : bytes) digest = (digest ^ byte) * 1099511628211u;
}

/// Members, not bytes: padding is anything.
void AddResult(const scapi_result& result)
{
    Add(result.verdict), Add(result.relation), Add(result.lower), Add(result.upper);
    for (int axis = 0; axis < 3; ++axis) Add(result.point_a[axis]), Add(result.point_b[axis]);
    Add(result.triangle_a), Add(result.triangle_b);
}

struct Random {
    std::mt19937 bits{1};

    double Between(double low, double high)
    {
        return low + (high - low) * static_cast<double>(bits()) * 0x1p-32;
    }
    /// From a quaternion: no sines, which test programs would round differently.
    Pose Placed(double distance)
    {
        double q[4], squared = 0;
        for (double& x : q) x = Between(-1, 1), squared += x * x;
        for (double& x : q) x /= std::sqrt(squared);
        const auto [w, x, y, z] = q;
        return {1 - 2 * (y * y + z * z), 2 * (x * y - w * z),     2 * (x * z + w * y),
                Between(0, distance),    2 * (x * y + w * z),     1 - 2 * (x * x + z * z),
                2 * (y * z - w * x),     Between(-distance, 0),   2 * (x * z - w * y),
                2 * (y * z + w * x),     1 - 2 * (x * x + y * y), Between(-1, 1)};
    }
};

std::vector<MeshPtr> Meshes(Random& random)
{
    std::vector<MeshPtr> meshes;
    meshes.push_back(Box({-3, -2, -1}, {3, 2, 1}));
    meshes.push_back(Cylinder(1.7, 5, 37));
    const double profile[] = {0, 0, 2, 0.5, 1.3, 3, 0, 4};
    scapi_mesh_options fine = Sides(0);
    fine.chord_tolerance = 0.001;
    meshes.push_back(Make<MeshPtr>(scapi_mesh_revolved, profile, 4, &fine));
    Floats soup(9 * 200);
    for (float& x : soup) x = static_cast<float>(random.Between(-3, 3));
    meshes.push_back(FromFloats(soup));
    return meshes;
}

void AddQueries(Random& random, const MeshPtr& a, const MeshPtr& b)
{
    const Pose poseA = random.Placed(1), poseB = random.Placed(9), endB = random.Placed(9);
    AddResult(Distance(a, poseA, b, poseB));
    AddResult(AskWithin(a, poseA, b, poseB, Within(0.5, 0, SCAPI_WANT_RELATION)));
    scapi_motion motion;
    if (scapi_motion_between(poseB.data(), endB.data(), nullptr, &motion) != SCAPI_OK) return;
    motion.angle += 2 * random.Between(0, 3);
    Add(motion.angle);
    const scapi_impact impact = Impact(a, Rest(poseA), b, motion, Within(0.01));
    Add(impact.verdict), Add(impact.t_clear), Add(impact.t_contact), Add(impact.lower);
    Add(impact.triangle_a), Add(impact.triangle_b);
}

} // namespace

int main(int count, char** arguments)
{
    Random random;
    const std::vector<MeshPtr> meshes = Meshes(random);
    for (int round = 0; round < 40; ++round)
        for (const MeshPtr& a : meshes)
            for (const MeshPtr& b : meshes) AddQueries(random, a, b);
    for (const MeshPtr& mesh : meshes) {
        scapi_mesh_info info{};
        scapi_mesh_get_info(mesh.get(), &info);
        Floats corners(9 * static_cast<std::size_t>(info.triangles));
        scapi_mesh_triangles(mesh.get(), 0, info.triangles, corners.data());
        for (const float x : corners) Add(x);
    }
    std::printf("%016" PRIx64 "\n", digest);
    return count > 1 && std::strtoull(arguments[1], nullptr, 16) != digest;
}
