// The motion of the second solid as conservative bounds need it.
#ifndef SCAPI_QUERY_MOTION_H
#define SCAPI_QUERY_MOTION_H

#include "bvh/query_trees.h"
#include "scapi/solid.h"

/// Which edges of a moving solid a traversal asks about. It starts with all of them while nodes are
/// large against the motion, and goes on with up to three passes for the edges of each kind.
enum class Pass {
    kEnd,        ///< own edges of all triangles that do not trail, at the end
    kStart,      ///< own edges of those that trail, at the start
    kSweptQuads, ///< edges of the quads that silhouette edges sweep from start to end
    kAll
};
constexpr int kPasses = 4;

/// The matrix of the motion, bounds on what it does to lengths and angles (Lemma 3), and what of it
/// concerns one pass. All lanes are alike.
struct Motion {
    Lanes matrix[3][3];
    Lanes start[3];        ///< image of the origin at the start
    Lanes displacement[3]; ///< of every point, from start to end
    Lanes direction[3];    ///< sweepDirection
    Lanes error;           ///< bound on the rounding of placed vertices and of placed boxes
    Lanes maxStretch;      ///< the most by which a length grows
    Lanes minStretch;      ///< the least, or 0
    Lanes gramDeviation;   ///< the most by which a dot product of unit vectors differs from that at
                           ///< rest
    bool isSwept;
    Pass pass;
    bool hasSweptQuads; ///< among the edges of the pass
    Lanes origin[3];    ///< its image in the pass; in the middle of the motion with swept quads
    Lanes halfDisplacement[3]; ///< 0 without swept quads
    Lanes sweptLength;         ///< by which an edge of a swept quad can be longer than its own edge
};

/// @param rest  boxes of which the first holds all probes
Motion ReadMotion(const SOLIDC& b, const ObbLanes& rest);
void SetPass(Motion& motion, Pass pass);

/// Whether bounds stay far from where floats overflow or lose all precision.
bool IsModerate(const Motion& motion);

/// Projected length of half the displacement on a direction.
inline Lanes HalfSweepAlong(const Motion& motion, const Lanes* direction)
{
    return motion.hasSweptQuads ? Abs(Dot(motion.halfDisplacement, direction)) : Lanes{};
}

#endif
