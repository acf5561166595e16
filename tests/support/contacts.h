// Hits at the limits of the contact rules: an edge and a triangle, pushed as far apart as the exact
// predicates still call a hit, with solids around them from which real hierarchies can be built.
#ifndef SCAPI_TESTS_CONTACTS_H
#define SCAPI_TESTS_CONTACTS_H

#include <memory>
#include <optional>

#include "query/motion.h"
#include "query/probe_edges.h"
#include "support/meshes.h"
#include "support/vec.h"

struct Contact {
    std::unique_ptr<SOLIDC> a, b; ///< targets in one leaf of an octree; tetrahedra in motion
    Pass pass = Pass::kEnd;
    int probe = 0;  ///< triangle of b that gives the edge
    int target = 0; ///< triangle of a that it hits
    PlacedEdge edge{};
    // How it hits:
    bool hasPlane = false; ///< else the target is judged by the plane of another
    bool onEdge = false;   ///< by a point between the ends; else beyond them or beside a side
    bool isBesideSide = false;
    Point3 step{}; ///< from an end to the point beyond it, or from the edge to the side
    bool endInPlane = false;
    bool hasPoint = false; ///< by a single point
    float point[3] = {};

    Point3 Edge() const { return Sum(Widened(edge.ends[1]), Widened(edge.ends[0]), -1); }
};

/// @return none when this draw does not come to a hit
std::optional<Contact> DrawContact(unsigned seed);

#endif
