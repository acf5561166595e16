/** @file
 * Solid interference for machine-tool simulation: the calls of a host, for C99 and C++.
 *
 * A host addresses a solid by its slot, a number from 0 to 299. Lengths are in the unit of the
 * files that it loads, the contact tolerance of 1e-4 included. A box is six floats: minimum x, y,
 * z, maximum x, y, z. A matrix is four rows of four floats that act on a column vector (x, y, z,
 * 1): translation in the fourth column, the fourth row gives the w of a homogeneous divide.
 *
 * The library keeps plain global state and takes no lock: make one call at a time.
 * Pointers are not tested unless a comment says so. Paths, boxes, axes and matrices are only read.
 */
#ifndef SCAPI_SCAPI_H
#define SCAPI_SCAPI_H

#include <stdint.h>

#include "scapi/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @defgroup scapi_results Slots and results
 * @{ */

/** Slots of the table, numbered from 0. */
#define SCAPI_SLOT_COUNT 300

/** Results. One number can mean different things on different calls, so each name says whose it is.
 */
enum SCAPI_RESULT {
    SCAPI_SUCCESS = 0,         /**< all calls, where they have nothing else to say */
    SCAPI_INTERFERENCE = 1,    /**< SCAPI_DetectInterference: contact */
    SCAPI_NO_INTERFERENCE = 2, /**< SCAPI_DetectInterference: no contact found */
    SCAPI_NOT_WRITTEN = 1,     /**< a file could not be written, or not wholly */
    SCAPI_END_OF_WALK = -1,    /**< in *cursor, never returned: nothing was written by this call */
    SCAPI_NO_FILE = -1,        /**< inside the library: there is no cache file to open */
    SCAPI_NULL_PATH = -51,     /**< a path that has to be there is null */
    SCAPI_LOOSE_VERTEX = -100, /**< inside the library: a vertex has fewer than three corners */
    SCAPI_OPEN_SIDE = -101,    /**< a side of a triangle has no neighbour: the mesh is not closed */
    SCAPI_DAMAGED_FILE = -400, /**< inside the library: a cache file is cut or contradicts itself */
    SCAPI_OTHER_VERSION = -401, /**< inside the library: a cache file of another format version */
    SCAPI_EMPTY_SLOT = -901,    /**< no solid in the slot; SCAPI_GetBbox: or no triangles in it */
    SCAPI_BAD_SOLID_ID = -902,  /**< the slot number is not in 0 to 299 */
    SCAPI_TOO_SMALL = -903,     /**< a box or cylinder under the least size */
    SCAPI_SIMPLE_SOLID = -904,  /**< inside the library: a simple solid has no such list */
    SCAPI_DAMAGED_SIMPLE_FILE = -905, /**< inside the library: as -400, in a file without edges */
    SCAPI_UNREADABLE = 65535          /**< the STL file is missing or is no STL; note the sign */
};

/** @}
 * @defgroup scapi_files Loads and saves
 * @{ */

/** Loads an STL file, text or binary, into a slot.
 *
 * What stood in the slot is destroyed first, whatever comes of the load.
 * @param solidId  0 to 299
 * @param path     names the file, 595 bytes at most; a longer one counts as a file that cannot be
 *                 opened. It may end in "(STL_SWAP_ZXY)" or "(STL_SWAP_YZX)", which is no part of
 *                 the file's name: every triple (x, y, z) of the file is then taken as (y, z, x) or
 *                 (z, x, y). Null only empties the slot.
 * @param simple   0 for a full solid, which has to be closed; anything else for a simple one, a bag
 *                 of triangles that can be hit, but has no edges that hit.
 * @return 0; SCAPI_BAD_SOLID_ID; SCAPI_NOT_WRITTEN, a success: the solid is good, only its cache
 * could not be written; SCAPI_UNREADABLE, with a solid without triangles left in the slot;
 * SCAPI_OPEN_SIDE with an empty solid; solidId when path is null, which for slots 0 and 1 reads
 * like a success: pass a path.
 *
 * A load with 0 can hold less than the file. Ask SCAPI_GetBbox whether anything came, and what:
 * - Reading ends at the first bad facet, or at the end of the first "solid" section of a text file,
 *   and keeps what came before.
 * - A text file with decimal commas has corners that fall together: it loads without triangles.
 * - A full solid that is not closed, but whose vertices all have three triangles or more, gets no
 *   octree, and as a first solid that stands still it is never hit. So does a closed file where
 *   corners nearer than the diagonal of the solid's box times 2e-7 are merged and a small feature
 *   collapses, such as a chamfer of 3e-4 in a frame of 2,000; and a file with two opposite facets
 *   on the same three corners. It can be noticed: with T triangles and V vertices counted by the
 *   calls below, and n bytes by which SCAPI_GetUsedRAM has grown, a solid with an octree has
 *   E = (n - 312 - 140 T - 40 V) / 40 edges with 2 E = 3 T, and SCAPI_GetLoop names each vertex
 *   three times or more. A second load, which takes it from its cache, gives it an octree.
 *
 * The costly work is kept in a cache file beside the STL file, same name, extension "SLD", and
 * taken from there as long as the modification time of the STL file, in whole seconds, is the one
 * that the cache was made from. So another solid can come back:
 * - when a file is rewritten within the second, or was read while it was still being written;
 * - when two files differ only in extension or in its case: they share one cache;
 * - when a path ends in a swap marker: it has no time, so its cache never ages, serves both
 *   markers, and is taken even when the STL file is gone.
 *
 * Whatever plain file stands at the cache's place is replaced, unless it is the source itself. A
 * current cache of a full solid serves a wish for a simple one, and stays full. With simple 1, a
 * current cache of a simple solid that is cut in its counts, or has counts that contradict each
 * other, gives 0 and a solid that nothing hits.
 */
SCAPI_EXPORT int SCAPI_LoadSTL(int solidId, unsigned char* path, int simple);

/** Builds a box in a slot, as a full solid. What stood in the slot is destroyed first.
 *
 * @param box  six floats; on each axis minimum + 1e-4 < maximum.
 * @return 0; SCAPI_BAD_SOLID_ID; SCAPI_TOO_SMALL, with the slot left empty. */
SCAPI_EXPORT int SCAPI_LoadBox(int solidId, float* box);

/** Builds a cylinder of 32 segments in a slot, as a full solid, and destroys what stood there.
 *
 * @param axisStart, axisEnd  the ends of its axis, three floats each, more than 1e-4 apart.
 * @param radius              above 1e-4.
 * @return 0; SCAPI_BAD_SOLID_ID; SCAPI_TOO_SMALL, with the slot left empty. */
SCAPI_EXPORT int SCAPI_LoadCylinder(int solidId, float* axisStart, float* axisEnd, float radius);

/** Writes the triangles of a solid as a binary STL file, as they stand after refinement.
 *
 * @param path  replaces the file that is there; a swap marker is cut off.
 * @return 0; SCAPI_BAD_SOLID_ID; SCAPI_EMPTY_SLOT; SCAPI_NULL_PATH; SCAPI_NOT_WRITTEN when the file
 * cannot be created. */
SCAPI_EXPORT int SCAPI_SaveSTL(int solidId, unsigned char* path);

/** @}
 * @defgroup scapi_motion Placing, moving and asking
 * @{ */

/** Places a solid, or moves it in a straight line from one pose to another.
 *
 * Both matrices are replaced by their element-wise mean, shifted so that the centre of the
 * solid's box lands where each of them puts it: a rotation between the poses is averaged away, and
 * with different rotations neither end pose is tested. Step through such a motion as placements.
 * Equal matrices place the solid. The second solid of a detection needs this call even if it
 * stands still.
 *
 * Which faces lead and which trail in the motion is decided by their normals as they were loaded. A
 * solid that its poses turn is swept with the wrong faces, and hits can be missed that its end pose
 * alone, placed, has. Load a solid that is to be swept in the orientation in which it moves, or
 * step it as placements.
 * @param start, end  matrices; they are used as they are, scale and shear included. With elements
 *                    that are not finite the solid is nowhere, and nothing is hit.
 * @return 0; SCAPI_BAD_SOLID_ID; SCAPI_EMPTY_SLOT. */
SCAPI_EXPORT int SCAPI_DefSweep(int solidId, float (*start)[4], float (*end)[4]);

/** Does an edge of solid B, as placed or moved, hit a triangle of solid A where A was loaded?
 *
 * Contact within 1e-4 counts, containment does not, and (a, b) is another question than (b, a).
 *
 * Solid A is always taken where it was loaded, whatever SCAPI_DefSweep gave it. For A at pose P and
 * B at pose Q give B the pose P^-1 Q; if both move, do so at the start and at the end. For the
 * reverse question place B with identities and give A the inverses of these poses.
 * What moves belongs in solidB: an A that was swept finds next to nothing in a B that stands still.
 * Place A, with two equal matrices, before it is asked about.
 *
 * SCAPI_NO_INTERFERENCE is also the answer
 * - for a B that was never placed or has no triangles (after SCAPI_UNREADABLE or SCAPI_OPEN_SIDE),
 *   for a simple B, and for matrices that are not finite;
 * - for an A without an octree, see SCAPI_LoadSTL;
 * - for solids whose boxes only touch: the tolerance acts where boxes overlap.
 *
 * Surfaces that coincide can give either answer: a box in the place of its copy gives none, a
 * cylinder contact.
 *
 * The tolerance is wider beside the sides of a triangle:
 * - In its plane it is 1e-4 divided by the length of the side, and more beyond an acute corner. A
 *   box of 1e-3 in a large frame is hit by a block 0.19 away, fine slivers by a shaft 0.01 away.
 * - For an edge that runs within 1e-4 of its plane it is up to 0.0064 divided by the length of the
 *   edge as refined. A box of 0.01, whose edges refinement halves, with a face in line with that of
 *   a block, is reported 1.2 beside it.
 *
 * The first query of a solid builds what later ones use: 0.1 to 0.6 s for solids of 80,000 to
 * 215,000 triangles.
 * @return SCAPI_INTERFERENCE, SCAPI_NO_INTERFERENCE; SCAPI_BAD_SOLID_ID when either number is out
 * of range; SCAPI_EMPTY_SLOT when either slot is empty. */
SCAPI_EXPORT int SCAPI_DetectInterference(int solidA, int solidB);

/** Can two solids meet at all, each on its way from a start to an end pose? By boxes alone, and
 * only by those at the start and the end: 0 tells nothing of a solid that turns on its way, which
 * can leave the hull of both, and nothing of slots that are empty. Ask only where start and end are
 * turned alike, and after the loads were checked.
 *
 * @param startA, endA, startB, endB  matrices, 16 floats in row order.
 * @return 1 when their boxes meet or touch in the frames of both, when the start and end of A
 * differ so much that a part of its motion could be missed, or when the start matrix that is needed
 * next has no inverse; 0 when they do not meet, when a slot is empty, or when a number is out of
 * range. */
SCAPI_EXPORT int SCAPI_BboxesInterference(int solidA, float* startA, float* endA, int solidB,
                                          float* startB, float* endB);

/** Transforms the triangles of a solid in place, and nothing else: its boxes, its vertices and its
 * octree go on describing the solid as it was loaded. So SCAPI_GetBbox and SCAPI_GetVertex give the
 * old place, and as the first solid of a detection it is reliably found neither there nor where it
 * is now. To move a solid use SCAPI_DefSweep.
 *
 * @return 0; SCAPI_BAD_SOLID_ID; SCAPI_EMPTY_SLOT. */
SCAPI_EXPORT int SCAPI_Rotate(int solidId, float (*matrix)[4]);

/** @}
 * @defgroup scapi_readback Reading back
 * @{ */

/** Reads the vertices of a full solid, at rest, one a call.
 *
 * @param cursor  set it to 0 before the first call and hand it back unchanged; SCAPI_END_OF_WALK in
 *                it after a call means that the walk was over and nothing was written.
 * @param xyz     three floats.
 * @return 0, also at the end; SCAPI_BAD_SOLID_ID, *cursor unchanged; SCAPI_EMPTY_SLOT, *cursor
 * then -1. A simple solid has no vertices. */
SCAPI_EXPORT int SCAPI_GetVertex(int solidId, int* cursor, float* xyz);

/** Reads the triangles of a solid, at rest, one a call; cursor and results as above.
 *
 * @param corners  three points.
 * @param normal   three floats, or null.
 *
 * On a simple solid the walk gives the triangles as loaded and hides what refinement appended;
 * the call that sets *cursor to -1 may have written to the outputs, which then mean nothing. */
SCAPI_EXPORT int SCAPI_GetTriangles(int solidId, int* cursor, float (*corners)[3], float* normal);

/** Reads the vertex numbers of the triangles of a full solid; cursor and results as above.
 *
 * @param vertexIndices  three ints, indices in the order in which SCAPI_GetVertex walks.
 * @param spare          not used. */
SCAPI_EXPORT int SCAPI_GetLoop(int solidId, int* cursor, int* vertexIndices, float* spare);

/** The box of a solid at rest.
 *
 * @param bbox  six floats, or null to ask only whether there are triangles.
 * @return 0; SCAPI_BAD_SOLID_ID; SCAPI_EMPTY_SLOT for an empty slot or a solid without triangles,
 * whose empty box (minimum 1e10, maximum -1e10) is written all the same. */
SCAPI_EXPORT int SCAPI_GetBbox(int solidId, float* bbox);

/** Bytes in the records of all solids: 312 for each solid, 140 a triangle, 40 a vertex, 40 an edge.
 * Octrees and spare capacity are not counted, and the 32-bit sum wraps without notice. */
SCAPI_EXPORT int32_t SCAPI_GetUsedRAM(void);

/** Destroys all solids; the library can be used again at once. @return 0 */
SCAPI_EXPORT int SCAPI_ReleaseSolids(void);
/** The same as SCAPI_ReleaseSolids. @return 0 */
SCAPI_EXPORT int SCAPI_Close(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
