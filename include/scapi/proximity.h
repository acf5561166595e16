/** @file
 * Distance, contact and time of impact of triangle meshes, with certified answers.
 *
 * CLEAR is a proof: a lower bound on the distance, with the rounding of the computation counted,
 * was above the tolerance, for a motion at every moment. What cannot be shown within the limits of
 * the caller is INDETERMINATE, and so are a result of zeros and the result of a call that failed.
 *
 * Lengths are in the unit of the meshes, angles in radians. Meshes hold floats and are placed by
 * poses of doubles; distances are between the closed triangles as stored, placed as given.
 *
 * Threads: meshes may be shared freely. A query, and a scene, serve one thread at a time.
 * Each call that can fail returns SCAPI_OK or a negative code, see scapi_error_text. */
#ifndef SCAPI_PROXIMITY_H
#define SCAPI_PROXIMITY_H

#include <stddef.h>
#include <stdint.h>

#include "scapi/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup proximity_codes Codes
 * @{ */

/** What calls return. */
enum {
    SCAPI_OK = 0,                /**< done */
    SCAPI_ERROR_NULL = -2001,    /**< a pointer that has to be there is null */
    SCAPI_ERROR_OPTIONS = -2002, /**< size, flags or a field unknown to this library is not zero */
    SCAPI_ERROR_TOLERANCE = -2003, /**< tolerance, resolution or upper bound out of range, or NaN */
    SCAPI_ERROR_MEMORY = -2004,    /**< no memory for what was asked for */
    SCAPI_ERROR_FILE = -2010,      /**< a file is missing, or is no STL file */
    SCAPI_ERROR_TRUNCATED = -2011, /**< a file ends before the facets that it announces */
    SCAPI_ERROR_FACET = -2012,     /**< a facet cannot be read */
    SCAPI_ERROR_COORDINATE = -2013,  /**< a coordinate is NaN, infinite or beyond the limit */
    SCAPI_ERROR_EMPTY = -2014,       /**< a mesh has no triangles */
    SCAPI_ERROR_INDEX = -2015,       /**< an index names no vertex */
    SCAPI_ERROR_SHAPE = -2016,       /**< sizes of a box, cylinder, cone or profile make no solid */
    SCAPI_ERROR_TOO_MANY = -2017,    /**< more than SCAPI_MAX_TRIANGLES */
    SCAPI_ERROR_POSE_NUMBER = -2020, /**< a pose or motion holds NaN, infinity or a huge number */
    SCAPI_ERROR_POSE_TRANSPOSED = -2021, /**< looks like columns where rows belong */
    SCAPI_ERROR_POSE_SCALED = -2022,     /**< rows are orthogonal, but not of length 1 */
    SCAPI_ERROR_POSE_MIRRORED = -2023,   /**< determinant -1 */
    SCAPI_ERROR_POSE_NOT_RIGID = -2024,  /**< rows are not orthogonal */
    SCAPI_ERROR_AXIS = -2030,            /**< the axis of a rotation is not a unit vector */
    SCAPI_ERROR_HALF_TURN = -2031,       /**< two poses half a turn apart: no shortest rotation */
    SCAPI_ERROR_BODY = -2040,            /**< a number names no body of the scene */
    SCAPI_ERROR_CANCELLED = -2041        /**< the progress callback asked for it */
};

/** What a code means and what to do about it. Never null; a static string. */
SCAPI_EXPORT const char* scapi_error_text(int code);

#define SCAPI_MAX_TRIANGLES 268435456 /**< of a mesh */
#define SCAPI_MAX_COORDINATE 1e9      /**< of a vertex, a pose, a path: absolute value */
#define SCAPI_MAX_ANGLE 1e7           /**< of a motion, radians: absolute value */

/** @}
 * @defgroup proximity_meshes Meshes
 * @{ */

/** A set of triangles, immutable, with a count of references. Starts with one. */
typedef struct scapi_mesh scapi_mesh;

/** Flags of scapi_mesh_options */
enum {
    SCAPI_SWAP_MARKERS = 1 /**< a path may end in "(STL_SWAP_ZXY)" or "(STL_SWAP_YZX)", which is no
                              part of the name: x, y, z become y, z, x or z, x, y */
};

/** How a mesh is made. Zeros but for the size are the defaults. */
typedef struct scapi_mesh_options {
    uint32_t size;          /**< sizeof(scapi_mesh_options) */
    uint32_t flags;         /**< SCAPI_SWAP_MARKERS */
    double scale;           /**< coordinates are multiplied by it; above 0; 0 stands for 1 */
    double chord_tolerance; /**< of curved shapes: how far chords may lie inside the curve; 0: by
                               segments alone */
    int32_t segments; /**< of a full turn, 3 to 100000; 0 stands for 32, or the least number that
                         keeps chord_tolerance if that is given */
    int32_t reserved; /**< zero */
} scapi_mesh_options;

/** Where the making of a mesh failed. */
typedef struct scapi_mesh_report {
    int64_t facet;     /**< of a failure, from 0 in the order of the input; -1 when it is none's */
    int64_t triangles; /**< read so far */
} scapi_mesh_report;

/** From an STL file, text or binary. Facets without area are kept. A file of several solids gives
 * one mesh.
 * @param options  null for defaults
 * @param report   null, or takes where it failed
 * @param out      takes the mesh; null on failure
 * @return SCAPI_OK, _NULL, _OPTIONS, _MEMORY, _FILE, _TRUNCATED, _FACET, _COORDINATE, _EMPTY,
 *         _TOO_MANY */
SCAPI_EXPORT int scapi_mesh_from_stl(const char* path, const scapi_mesh_options* options,
                                     scapi_mesh_report* report, scapi_mesh** out);

/** From arrays, which are copied.
 * @param vertices  3 * vertex_count floats
 * @param indices   3 * triangle_count, 0 to vertex_count - 1; null: each three vertices a triangle
 * @return SCAPI_OK, _NULL, _OPTIONS, _MEMORY, _COORDINATE, _EMPTY, _INDEX, _TOO_MANY */
SCAPI_EXPORT int scapi_mesh_from_arrays(const float* vertices, int64_t vertex_count,
                                        const int32_t* indices, int64_t triangle_count,
                                        const scapi_mesh_options* options,
                                        scapi_mesh_report* report, scapi_mesh** out);

/** A box with faces along the axes, 12 triangles.
 * @param low, high  corners, low below high on each axis
 * @return SCAPI_OK, _NULL, _OPTIONS, _MEMORY, _COORDINATE, _SHAPE */
SCAPI_EXPORT int scapi_mesh_box(const double low[3], const double high[3],
                                const scapi_mesh_options* options, scapi_mesh** out);

/** A cylinder round the z axis from z = 0 to height. Its corners lie on the circle, so it is inside
 * the true cylinder.
 * @return as scapi_mesh_box */
SCAPI_EXPORT int scapi_mesh_cylinder(double radius, double height,
                                     const scapi_mesh_options* options, scapi_mesh** out);

/** A cone or its frustum round the z axis: radius `low_radius` at z = 0, `high_radius` at height.
 * Either radius, but not both, may be 0.
 * @return as scapi_mesh_box */
SCAPI_EXPORT int scapi_mesh_cone(double low_radius, double high_radius, double height,
                                 const scapi_mesh_options* options, scapi_mesh** out);

/** A profile turned round the z axis: tools with round ends, holders. Closed where the profile
 * starts and ends on the axis, or ends where it starts; else a flat disc is added at each open end.
 * @param profile  2 * count numbers: radius (0 or more) and z, bottom to top for outward facets
 * @param count    2 to 1000000
 * @return as scapi_mesh_box */
SCAPI_EXPORT int scapi_mesh_revolved(const double* profile, int32_t count,
                                     const scapi_mesh_options* options, scapi_mesh** out);

SCAPI_EXPORT void scapi_mesh_retain(scapi_mesh* mesh);  /**< null: nothing */
SCAPI_EXPORT void scapi_mesh_release(scapi_mesh* mesh); /**< null: nothing */

/** What a mesh holds. */
typedef struct scapi_mesh_info {
    int64_t triangles; /**< number */
    int64_t bytes;     /**< held by the mesh */
    float low[3];      /**< bounding box, least corner */
    float high[3];     /**< greatest corner */
    int32_t closed; /**< 1: each edge is run as often one way as the other, vertices taken as equal
                       when their coordinates are; found out at the first request, then kept */
    int32_t shells; /**< parts that are connected by their vertices */
} scapi_mesh_info;

/** @return SCAPI_OK, _NULL, _MEMORY */
SCAPI_EXPORT int scapi_mesh_get_info(const scapi_mesh* mesh, scapi_mesh_info* info);

/** Copies corners of triangles, in the order of the input.
 * @param first    0 or more
 * @param count    at most so many
 * @param corners  9 floats each
 * @return number copied, 0 behind the end; _NULL, _INDEX */
SCAPI_EXPORT int64_t scapi_mesh_triangles(const scapi_mesh* mesh, int64_t first, int64_t count,
                                          float* corners);

/** Vertices, each once, and triangles that name them.
 * @param vertices  null, or room for 9 * triangles floats; takes 3 * the result
 * @param indices   null, or room for 3 * triangles
 * @return number of vertices; _NULL, _MEMORY */
SCAPI_EXPORT int64_t scapi_mesh_indexed(const scapi_mesh* mesh, float* vertices, int32_t* indices);

/** @}
 * @defgroup proximity_poses_and_motions Poses and motions
 * @{ */

/** A pose is three rows (R | t), 12 doubles: a point p of the body is placed at R p + t. R is a
 * rotation within 1e-6.
 * @return SCAPI_OK, _NULL, or the _POSE_ code that tells what it looks like */
SCAPI_EXPORT int scapi_pose_check(const double pose[12]);

/** From the start pose, at time 0, to time 1: the pivot goes straight by `path`, while the body
 * turns about it, by `angle` about `axis`, both at an even rate. */
typedef struct scapi_motion {
    double start[12]; /**< pose at time 0 */
    double pivot[3];  /**< body coordinates */
    double path[3];   /**< world */
    double axis[3];   /**< world; unit vector within 1e-6, or anything finite where angle is 0 */
    double angle;     /**< radians, of any number of turns up to SCAPI_MAX_ANGLE */
} scapi_motion;

/** The motion from one pose to another, with the shortest rotation.
 * @param pivot  body coordinates of the point that goes straight; null for the origin
 * @return SCAPI_OK, _NULL, _POSE_..., _HALF_TURN */
SCAPI_EXPORT int scapi_motion_between(const double start[12], const double end[12],
                                      const double pivot[3], scapi_motion* motion);

/** The pose of a motion at a time, 0 to 1, rounded.
 * @return SCAPI_OK, _NULL, _POSE_..., _AXIS */
SCAPI_EXPORT int scapi_motion_pose(const scapi_motion* motion, double time, double pose[12]);

/** @}
 * @defgroup proximity_queries Queries
 * @{ */

/** Scratch of the calls below, and the closest pair of last time. Never shared between threads that
 * run at a time; made for any meshes. */
typedef struct scapi_query scapi_query;

SCAPI_EXPORT int scapi_query_create(scapi_query** out);    /**< SCAPI_OK, _NULL, _MEMORY */
SCAPI_EXPORT void scapi_query_destroy(scapi_query* query); /**< null: nothing */

/** Verdict */
enum {
    SCAPI_INDETERMINATE = 0, /**< not shown: the result holds what is known */
    SCAPI_CLEAR = 1,         /**< shown: further apart than the tolerance, and neither inside */
    SCAPI_CONTACT = 2,       /**< at most tolerance + resolution apart */
    SCAPI_INSIDE = 3,        /**< the surfaces are apart, but one solid lies in the other */
    SCAPI_START_CONTACT = 4  /**< of a motion: contact where it starts */
};

/** Relation */
enum {
    SCAPI_UNKNOWN = 0, /**< not asked for, not closed where it matters, or not to be told */
    SCAPI_APART = 1,
    SCAPI_TOUCHING = 2, /**< the surfaces meet, no two triangles cross; also where they coincide */
    SCAPI_CROSSING = 3, /**< relative interiors of two triangles cross */
    SCAPI_A_IN_B = 4,   /**< a connected part of A lies inside B, the surfaces are apart */
    SCAPI_B_IN_A = 5
};

/** Flags of scapi_options */
enum {
    SCAPI_SURFACES_ONLY = 1, /**< sheets, not solids: nothing is inside, UNKNOWN doesn't matter */
    SCAPI_WANT_RELATION = 2, /**< scapi_within tells TOUCHING from CROSSING too: more work */
    SCAPI_IGNORE_START_CONTACT =
        4 /**< scapi_time_of_impact: triangles in contact at the start count
             again when they come closer or deeper by the resolution. Of a mesh
             that is not closed both sides are outside: two sheets that meet at
             the start, at distance 0, may part to either side, so that one which
             is meant to lift off can leave through the other, and that is CLEAR.
             Use closed meshes, or start apart, where that matters */
};

/** What a query is asked. Zeros but for the size are the defaults. */
typedef struct scapi_options {
    uint32_t size;     /**< sizeof(scapi_options) */
    uint32_t flags;    /**< SCAPI_SURFACES_ONLY, _WANT_RELATION, _IGNORE_START_CONTACT */
    double tolerance;  /**< 0 or more, at most 1e9: contact at this distance or less */
    double resolution; /**< 0 or more: how far beyond the tolerance contact may be claimed. 0 stands
                          for a tenth of the tolerance, or, where that is 0, for a millionth of the
                          diagonal of the smaller body's box */
    double upper_bound; /**< scapi_distance looks no further than this; 0: without bound */
    int64_t budget;     /**< tests of pairs of nodes and triangles; 0 stands for 50 million */
} scapi_options;

/** The answer of scapi_within and scapi_distance. */
typedef struct scapi_result {
    int32_t verdict;    /**< SCAPI_INDETERMINATE to SCAPI_INSIDE */
    int32_t relation;   /**< SCAPI_UNKNOWN to SCAPI_B_IN_A */
    double lower;       /**< lower <= distance of the surfaces <= upper, certified */
    double upper;       /**< infinity where nothing was met below the bound */
    double point_a[3];  /**< witness points, world coordinates; zeros where upper is infinite */
    double point_b[3];  /**< on B */
    int32_t triangle_a; /**< numbers in the order of the input; -1 where upper is infinite */
    int32_t triangle_b; /**< of B */
    int64_t tests;      /**< spent of the budget */
} scapi_result;

/** Are two placed bodies in contact? Stops at the first contact: lower is then 0 and upper the
 * distance of the triangles named. CLEAR: lower is the tolerance.
 * @param options  null for defaults: tolerance 0
 * @return SCAPI_OK, _NULL, _OPTIONS, _TOLERANCE, _POSE_..., _MEMORY */
SCAPI_EXPORT int scapi_within(scapi_query* query, const scapi_mesh* a, const double pose_a[12],
                              const scapi_mesh* b, const double pose_b[12],
                              const scapi_options* options, scapi_result* result);

/** The distance of the surfaces of two placed bodies.
 * @return as scapi_within */
SCAPI_EXPORT int scapi_distance(scapi_query* query, const scapi_mesh* a, const double pose_a[12],
                                const scapi_mesh* b, const double pose_b[12],
                                const scapi_options* options, scapi_result* result);

/** Kind of a contact */
enum {
    SCAPI_KIND_NEAR = 0,     /**< apart, within the tolerance */
    SCAPI_KIND_TOUCHING = 1, /**< a point or an edge of one reaches the other */
    SCAPI_KIND_CROSSING = 2, /**< relative interiors cross, along the segment */
    SCAPI_KIND_COPLANAR = 3  /**< in one plane, overlapping */
};

/** Two triangles within the tolerance. */
typedef struct scapi_contact {
    int32_t triangle_a;   /**< in the order of the input */
    int32_t triangle_b;   /**< likewise */
    int32_t kind;         /**< SCAPI_KIND_NEAR to SCAPI_KIND_COPLANAR */
    int32_t certain;      /**< 1: upper is at most tolerance + resolution */
    double lower,         /**< the distance is at least this, certified */
        upper;            /**< and at most this */
    double point_a[3];    /**< closest points, world coordinates */
    double point_b[3];    /**< on B */
    double segment[2][3]; /**< CROSSING: ends of the intersection; else the middle of the points */
} scapi_contact;

/** The summary of scapi_contacts. */
typedef struct scapi_contacts_result {
    int32_t verdict;   /**< CONTACT, CLEAR, INSIDE, INDETERMINATE as of scapi_within */
    int32_t relation;  /**< as of scapi_within */
    int64_t count;     /**< of pairs found, those without room included */
    int64_t stored;    /**< of these, in the array */
    int32_t truncated; /**< 1: pairs are missing, for want of room or of budget */
    int32_t exhausted; /**< 1: the budget ran out, count is too small */
    int64_t tests;     /**< spent of the budget */
} scapi_contacts_result;

/** All pairs of triangles within the tolerance, sorted by numbers (a first), each once. Those that
 * rounding keeps from being told are in, with `certain` 0. With too little room the first ones in
 * this order are stored.
 * @param contacts  room for `capacity`; null only if that is 0
 * @return as scapi_within; _INDEX for a negative capacity */
SCAPI_EXPORT int scapi_contacts(scapi_query* query, const scapi_mesh* a, const double pose_a[12],
                                const scapi_mesh* b, const double pose_b[12],
                                const scapi_options* options, scapi_contact* contacts,
                                int64_t capacity, scapi_contacts_result* result);

/** The answer of scapi_time_of_impact. */
typedef struct scapi_impact {
    int32_t verdict;   /**< CLEAR, CONTACT, START_CONTACT, INSIDE (at the start), INDETERMINATE */
    int32_t relation;  /**< at the start */
    double t_clear;    /**< shown: surfaces further apart than the tolerance at all times below it.
                          While the relation is UNKNOWN one body may be inside the other */
    double t_contact;  /**< CONTACT, START_CONTACT: at most tolerance + resolution apart at this
                          time; else 1 */
    double lower;      /**< CONTACT, START_CONTACT: distance of the triangles named at t_contact, at
                          least */
    double upper;      /**< the same, at most */
    double point_a[3]; /**< the same: their closest points, world coordinates */
    double point_b[3]; /**< on B */
    double normal[3];  /**< the same: unit vector from A to B there */
    double clearance;  /**< the least distance that was met; the true least one is not above it, and
                          when CLEAR not below the tolerance. No more was measured than the answer
                          needs: ask scapi_distance for how far bodies are apart */
    int32_t triangle_a; /**< -1 where there is no contact */
    int32_t triangle_b; /**< likewise */
    int64_t tests;      /**< spent of the budget */
} scapi_impact;

/** When do two moving bodies first touch?
 * @return SCAPI_OK, _NULL, _OPTIONS, _TOLERANCE, _POSE_..., _AXIS, _MEMORY */
SCAPI_EXPORT int scapi_time_of_impact(scapi_query* query, const scapi_mesh* a,
                                      const scapi_motion* motion_a, const scapi_mesh* b,
                                      const scapi_motion* motion_b, const scapi_options* options,
                                      scapi_impact* result);

/** @}
 * @defgroup proximity_diagnose Diagnosis
 * @{ */

#define SCAPI_PLACES 8 /**< places that a finding names */

/** A kind of fault: how often, and the first places. */
typedef struct scapi_finding {
    int64_t count;                 /**< all of this kind */
    int32_t facet[SCAPI_PLACES];   /**< in the order of the input; -1 behind the last */
    double point[SCAPI_PLACES][3]; /**< where each of them is */
} scapi_finding;

/** Flags of scapi_diagnose_options */
enum {
    SCAPI_SELF_CROSSINGS = 1 /**< look for pairs of triangles that cross */
};

/** What scapi_diagnose looks for. Zeros but for the size are the defaults. */
typedef struct scapi_diagnose_options {
    uint32_t size;  /**< sizeof(scapi_diagnose_options) */
    uint32_t flags; /**< SCAPI_SELF_CROSSINGS: look for them too */
    double weld;    /**< vertices at most so far apart on each axis are one, and so are those that a
                       chain of such vertices joins; 0: only those with equal coordinates */
    int64_t budget; /**< tests of pairs for self crossings; 0 stands for 50 million */
} scapi_diagnose_options;

/** What scapi_diagnose finds. */
typedef struct scapi_diagnosis {
    int64_t triangles,          /**< number */
        vertices,               /**< number after welding */
        edges;                  /**< likewise */
    int32_t closed;             /**< as scapi_mesh_info, after welding */
    int32_t inside_out;         /**< 1: closed, and its volume is below 0 */
    int64_t shells;             /**< connected parts, closed or not */
    int64_t inverted_shells;    /**< of a closed mesh: those of a volume below 0 */
    int64_t nested_shells;      /**< closed parts whose boxes lie in that of another part; cavities,
                                   perhaps */
    double volume;              /**< signed; of closed meshes, else 0 */
    double area;                /**< of all triangles */
    double extent[3];           /**< of the bounding box */
    double extent_if_inches[3]; /**< the same in mm, if the unit was an inch */
    scapi_finding open_edges;   /**< one triangle */
    scapi_finding nonmanifold_edges; /**< more than two */
    scapi_finding reversed_edges;    /**< two triangles that run it the same way */
    scapi_finding duplicates;        /**< the same corners as another facet, in the same sense */
    scapi_finding opposed;           /**< the same corners, in the opposite sense */
    scapi_finding
        degenerate_facets; /**< two corners equal after welding, or three in a line exactly */
    scapi_finding self_crossings;    /**< pairs of triangles; the facet is the lower number */
    int32_t self_crossings_complete; /**< 1: all were looked for, within the budget */
    int32_t reserved;                /**< zero */
} scapi_diagnosis;

/** @return SCAPI_OK, _NULL, _OPTIONS, _TOLERANCE, _MEMORY */
SCAPI_EXPORT int scapi_diagnose(const scapi_mesh* mesh, const scapi_diagnose_options* options,
                                scapi_diagnosis* result);

/** @}
 * @defgroup proximity_scene Scenes
 * @{ */

/** Many bodies. Holds a reference to each mesh. */
typedef struct scapi_scene scapi_scene;

SCAPI_EXPORT int scapi_scene_create(scapi_scene** out);    /**< SCAPI_OK, _NULL, _MEMORY */
SCAPI_EXPORT void scapi_scene_destroy(scapi_scene* scene); /**< null: nothing */

/** Adds a body that rests where its mesh lies. Bodies of the same group above 0 are not held
 * against each other.
 * @return its number, from 0 on; _NULL, _MEMORY */
SCAPI_EXPORT int scapi_scene_add(scapi_scene* scene, scapi_mesh* mesh, int32_t group);

/** @return SCAPI_OK, _NULL, _BODY, _POSE_... */
SCAPI_EXPORT int scapi_scene_place(scapi_scene* scene, int32_t body, const double pose[12]);

/** @return SCAPI_OK, _NULL, _BODY, _POSE_..., _AXIS */
SCAPI_EXPORT int scapi_scene_move(scapi_scene* scene, int32_t body, const scapi_motion* motion);

/** Leaves a pair out of all checks. @return SCAPI_OK, _NULL, _BODY, _MEMORY */
SCAPI_EXPORT int scapi_scene_ignore(scapi_scene* scene, int32_t body_a, int32_t body_b);

/** A pair of bodies of a scene, and its answer. */
typedef struct scapi_pair {
    int32_t body_a;      /**< the lower number */
    int32_t body_b;      /**< the higher */
    scapi_impact impact; /**< of bodies at rest: times are 0 */
} scapi_pair;

/** The summary of scapi_scene_check. */
typedef struct scapi_scene_result {
    int32_t verdict;   /**< the gravest: contact of any kind, else INDETERMINATE, else CLEAR */
    int32_t truncated; /**< 1: pairs are missing for want of room */
    int64_t pairs;     /**< all, without those left out */
    int64_t examined;  /**< those that the boxes of the bodies did not show to be clear */
    int64_t count;     /**< those that are not CLEAR */
    int64_t stored;    /**< of these, in the array */
} scapi_scene_result;

/** Called before each pair that is examined. @return 0 to go on, else the check ends */
typedef int (*scapi_progress)(void* user, int64_t done, int64_t of);

/** Checks all pairs along their motions, and stores those that are not CLEAR, sorted by numbers. A
 * scene without pairs is CLEAR.
 * Bodies that were only placed rest. The budget counts for each pair.
 * @param pairs     room for `capacity`; null only if that is 0
 * @param progress  null, or called from within
 * @return SCAPI_OK, _NULL, _OPTIONS, _TOLERANCE, _INDEX, _MEMORY, _CANCELLED; on failure the
 *         verdict is INDETERMINATE */
SCAPI_EXPORT int scapi_scene_check(scapi_scene* scene, scapi_query* query,
                                   const scapi_options* options, scapi_pair* pairs,
                                   int64_t capacity, scapi_progress progress, void* user,
                                   scapi_scene_result* result);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
