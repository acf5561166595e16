/* A C99 host can include the header and make every call by its declared type. */
#include "scapi/proximity.h"

int UseProximityFromC(void);

int UseProximityFromC(void)
{
    const double low[3] = {0, 0, 0}, high[3] = {1, 1, 1};
    const double pose[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    const double profile[4] = {1, 0, 1, 1};
    const float vertices[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    float corners[9 * 12];
    scapi_mesh_options mesh_options = {sizeof(scapi_mesh_options), 0, 0, 0, 0, 0};
    scapi_options options = {sizeof(scapi_options), 0, 0, 0, 0, 0};
    scapi_diagnose_options diagnose_options = {sizeof(scapi_diagnose_options), 0, 0, 0};
    scapi_mesh_report report;
    scapi_mesh_info info;
    scapi_mesh *mesh = 0, *other = 0;
    scapi_query* query = 0;
    scapi_scene* scene = 0;
    scapi_motion motion;
    scapi_result result;
    scapi_impact impact;
    scapi_contacts_result contacts;
    scapi_diagnosis diagnosis;
    scapi_scene_result checked;
    double at[12];
    int bad = 0;
    bad |= scapi_mesh_box(low, high, &mesh_options, &mesh);
    bad |= scapi_mesh_cylinder(1, 1, 0, &other), scapi_mesh_release(other);
    bad |= scapi_mesh_cone(1, 0, 1, 0, &other), scapi_mesh_release(other);
    bad |= scapi_mesh_revolved(profile, 2, 0, &other), scapi_mesh_release(other);
    bad |= scapi_mesh_from_arrays(vertices, 3, 0, 1, 0, &report, &other);
    scapi_mesh_release(other);
    bad |= scapi_mesh_from_stl("/", 0, &report, &other) != SCAPI_ERROR_FILE;
    bad |= scapi_mesh_get_info(mesh, &info) || info.triangles != 12;
    bad |= scapi_mesh_triangles(mesh, 0, 12, corners) != 12;
    bad |= scapi_mesh_indexed(mesh, 0, 0) != 8;
    bad |= scapi_pose_check(pose) || scapi_query_create(&query) || scapi_scene_create(&scene);
    bad |= scapi_motion_between(pose, pose, 0, &motion) || scapi_motion_pose(&motion, 1, at);
    bad |= scapi_within(query, mesh, pose, mesh, pose, &options, &result);
    bad |= scapi_distance(query, mesh, pose, mesh, pose, 0, &result);
    bad |= scapi_contacts(query, mesh, pose, mesh, pose, 0, 0, 0, &contacts);
    bad |= scapi_time_of_impact(query, mesh, &motion, mesh, &motion, 0, &impact);
    bad |= scapi_diagnose(mesh, &diagnose_options, &diagnosis);
    bad |= scapi_scene_add(scene, mesh, 0) != 0 || scapi_scene_add(scene, mesh, 0) != 1;
    bad |= scapi_scene_place(scene, 0, pose) || scapi_scene_move(scene, 1, &motion);
    bad |= scapi_scene_ignore(scene, 0, 1);
    bad |= scapi_scene_check(scene, query, &options, 0, 0, 0, 0, &checked);
    bad |= checked.verdict != SCAPI_CLEAR || impact.verdict != SCAPI_START_CONTACT;
    scapi_mesh_retain(mesh);
    scapi_mesh_release(mesh);
    scapi_mesh_release(mesh);
    scapi_scene_destroy(scene);
    scapi_query_destroy(query);
    return bad;
}
