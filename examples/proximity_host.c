#include <stdio.h>

#include "scapi/proximity.h"

int main(void)
{
    const double low[3] = {-50, -50, 0}, high[3] = {50, 50, 20};
    scapi_mesh *clamp = NULL, *tool = NULL;
    scapi_query* query = NULL;
    scapi_motion rest = {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}, {0}, {0}, {0, 0, 1}, 0};
    scapi_motion move = {{1, 0, 0, -90, 0, 1, 0, 0, 0, 0, 1, 15}, {0}, {180, 0, 0}, {0, 0, 1}, 0};
    scapi_options options = {sizeof options, 0, 0.01, 0, 0, 0}; /* tolerance 0.01 */
    scapi_impact impact;
    if (scapi_mesh_box(low, high, NULL, &clamp) || scapi_mesh_cylinder(10, 60, NULL, &tool) ||
        scapi_query_create(&query))
        return 2;
    int code = scapi_time_of_impact(query, clamp, &rest, tool, &move, &options, &impact);
    if (code != SCAPI_OK)
        puts(scapi_error_text(code));
    else if (impact.verdict == SCAPI_CLEAR)
        printf("clear, by %g at least\n", options.tolerance);
    else
        printf("verdict %d: apart until %.6f, contact at %.6f\n", (int)impact.verdict,
               impact.t_clear, impact.t_contact);
    scapi_query_destroy(query), scapi_mesh_release(tool), scapi_mesh_release(clamp);
    return 0;
}
