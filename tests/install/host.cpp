// A C++ host of both installed libraries, which also looks inside a solid.
#include "scapi/proximity.h"
#include "scapi/solid.h"

int main()
{
    SOLIDC solid;
    float box[6] = {0, 0, 0, 1, 1, 1};
    if (solid.LoadBox(box) != 0 || solid.triangleCount < 12) return 1;
    const double low[3] = {0, 0, 0}, high[3] = {1, 1, 1};
    const double rest[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    const double away[12] = {1, 0, 0, 4, 0, 1, 0, 0, 0, 0, 1, 0};
    scapi_mesh* mesh = nullptr;
    scapi_query* query = nullptr;
    if (scapi_mesh_box(low, high, nullptr, &mesh) || scapi_query_create(&query)) return 2;
    scapi_result distance{};
    const int code = scapi_distance(query, mesh, rest, mesh, away, nullptr, &distance);
    scapi_query_destroy(query), scapi_mesh_release(mesh);
    return code != SCAPI_OK || distance.lower > 3 || distance.upper < 3;
}
