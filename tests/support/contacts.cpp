#include "support/contacts.h"

#include <algorithm>
#include <cmath>

#include "geometry/predicates.h"
#include "geometry/vector.h"
#include "mesh/triangle.h"

namespace
{

Point ToFloats(const Point3& p) { return {float(p[0]), float(p[1]), float(p[2])}; }

/// A place for a shape: axes, sizes along them, how far its parts spread, its distance from the
/// origin.
struct Shape {
    const Sampler& draw;
    Frame axes;
    Point3 size{}, centre{};
    double spread;

    Shape(const Sampler& numbers, bool flat) : draw(numbers), axes(AnyFrame(numbers))
    {
        // Beside sides so short a margin can only come from the edge.
        const double most = draw.Below(5) ? 30 : 0.06, all = draw.Size(1e-3, most);
        for (double& s : size) s = draw.Below(2) ? all : double(draw.Size(1e-3, most));
        if (flat) size[2] = draw.Below(2) ? 0 : size[0] * draw.Size(1e-6, 0.3);
        spread = draw.Below(2) ? draw.Size(0.5, 30) : 0;
        const double far = draw.Below(3) ? 0 : draw.Size(1, 1e5);
        centre = Sum({}, AnyPoint(draw), far);
    }

    Point3 Beside(const Point3& middle, double by = 1) const
    {
        const Point3 at = AnyPoint(draw);
        return Sum(middle, FromFrame(axes, {size[0] * at[0], size[1] * at[1], size[2] * at[2]}),
                   by);
    }
};

/// @param aimed  so many are aimed at, the first
Mesh DrawTargets(const Sampler& draw, int& aimed)
{
    const int counts[] = {1, 1, 2, 4, 5, 12};
    const Shape shape(draw, true);
    Mesh mesh;
    for (int i = counts[draw.Below(6)]; i > 0; --i) {
        const Point3 middle = shape.Beside(shape.centre, shape.spread);
        Point3 corner[3];
        for (Point3& c : corner) c = shape.Beside(middle);
        const double along = draw.Between(-0.2, 1.2), across = draw.Size(1e-6, 0.1);
        if (draw.Below(4) == 0) // a sliver
            corner[2] = Sum(Sum(corner[0], Sum(corner[1], corner[0], -1), along),
                            Sum(corner[2], corner[0], -1), across);
        mesh.push_back({ToFloats(corner[0]), ToFloats(corner[1]), ToFloats(corner[2])});
    }
    const std::size_t second = std::size_t(draw.Below(2)); // rounding gives a segment some plane
    if (draw.Below(12) == 0)
        mesh.insert(draw.Below(2) ? mesh.begin() : mesh.end(),
                    {mesh[0][0], mesh[0][second], mesh[0][second]});
    aimed = int(mesh.size());
    // Around them so many that nodes are bounded by what is below them.
    for (int i = draw.Below(256) ? 0 : draw.Below(2) ? 300 : 5000; i > 0; --i) {
        const Point3 middle = shape.Beside(shape.centre, 100);
        Point3 corner[3];
        for (Point3& c : corner) c = shape.Beside(middle, 0.1);
        mesh.push_back({ToFloats(corner[0]), ToFloats(corner[1]), ToFloats(corner[2])});
    }
    return mesh;
}

Mesh DrawProbes(const Sampler& draw)
{
    const int counts[] = {1, 1, 1, 2, 4, 8};
    const Shape shape(draw, draw.Below(2) != 0);
    const bool needles = draw.Below(4) == 0;
    Mesh mesh;
    for (int i = counts[draw.Below(6)]; i > 0; --i) {
        const Point3 middle = shape.Beside(shape.centre, shape.spread);
        Point p[4];
        for (Point& one : p) one = ToFloats(shape.Beside(middle));
        // A needle, with two edges across it that are short against its length.
        const Point3 along = Sum(Widened(p[2].data()), Widened(p[0].data()), -1);
        for (std::size_t end = 0; needles && end < 4; end += 2)
            p[end + 1] = ToFloats(Sum(Widened(p[end].data()), Unit(Normal(along, AnyPoint(draw))),
                                      LengthOf(along) * draw.Size(1e-4, 0.3)));
        for (const auto& [u, v, w] : {std::array{0, 1, 2}, {0, 3, 1}, {1, 3, 2}, {2, 3, 0}})
            mesh.push_back({p[u], p[v], p[w]});
    }
    return mesh;
}

/// All triangles in one leaf, whose cell is as large as the mesh or larger.
std::unique_ptr<SOLIDC> MakeTargetSolid(const Sampler& draw, int& aimed)
{
    auto solid = BareSolid(DrawTargets(draw, aimed), 1);
    solid->isRotated = 1; // so that nodes have cells
    const float wider = draw.Below(3) ? draw.Size(1, 1000) : draw.Size(1e-4, 1);
    for (int axis = 0; axis < 3; ++axis) solid->bbox[axis] -= wider, solid->bbox[axis + 3] += wider;
    float margin[3] = {1, 1, 1};
    solid->octree = new OCTREEC(solid->bbox, 0, margin, solid.get());
    // The last one added is the first of the chain.
    for (int t = solid->triangleCount; t-- > 0;)
        solid->octree->OC_AddTriangle(&solid->triangles[t]);
    return solid;
}

Frame DrawStretch(const Sampler& draw)
{
    Frame rows{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    const int kind = draw.Below(8);
    for (std::size_t i = 0; i < 3; ++i) {
        if (kind == 0) rows[i][i] = draw.Size(0.05, 20);
        if (kind == 1) rows[i][std::size_t(draw.Below(3))] += draw.Between(-3, 3);
        if (kind == 2) rows[i] = Sum(rows[i], AnyPoint(draw), 1e-3);
        if (kind == 3) rows[i] = AnyPoint(draw);
    }
    return rows;
}

/// What a draw aims at.
struct Aim {
    Frame target; ///< a side, a direction across it in the plane, the normal
    Point3 foot;  ///< a point at the target
    Point3 wish;  ///< for the direction of the edge
    double scale; ///< of b
};

Aim DrawAim(const Sampler& draw, const T_LIST& triangle, double edgeLength)
{
    const int slot = draw.Below(3);
    const Point3 from = Widened(triangle.corners[slot]),
                 to = Widened(triangle.corners[(slot + 1) % 3]),
                 third = Widened(triangle.corners[(slot + 2) % 3]), side = Sum(to, from, -1);
    Aim aim{FrameOf(side, Sum(third, from, -1)), from, {}, 1};
    const double sideLength = LengthOf(side), along[] = {0, 0.5, 1};
    aim.foot = Sum(from, side, draw.Below(2) ? along[draw.Below(3)] : double(draw.Between(0, 1)));
    if (draw.Below(3) == 0) aim.foot = Sum(aim.foot, Sum(third, from, -1), draw.Between(0, 0.5));
    aim.foot = Sum(aim.foot, aim.target[2], draw.Below(2) ? draw.Between(-1e-4, 1e-4) : 0.0f);
    // Segments so short count as parallel in any direction.
    if (draw.Below(3) == 0)
        aim.scale = std::clamp((draw.Below(2) ? draw.Between(1e-3, 3.2e-3) : draw.Size(3e-3, 0.1)) /
                                   (edgeLength * sideLength),
                               1e-3, 1e3);
    // Near the length at which an end of a side can lie farthest from an edge.
    if (sideLength < 0.1 && draw.Below(2)) aim.scale = draw.Size(0.02, 0.5) / edgeLength;
    edgeLength *= aim.scale;
    // As segments count as parallel, or nearly so; in the plane, nearly so; any.
    const double small = draw.Size(1e-5, 1),
                 sine = std::sqrt(1e-5) / std::max(1e-12, edgeLength * sideLength),
                 parallel = std::asin(std::min(1.0, sine)),
                 angles[] = {0, 0.99 * parallel, -parallel * draw.Between(0.5, 1.1),
                             small * draw.Between(-1, 1), draw.Between(-3, 3)},
                 angle = std::clamp(angles[draw.Below(5)], -3.0, 3.0),
                 rise = draw.Below(2)   ? 0
                        : draw.Below(2) ? draw.Between(-2e-4, 2e-4) / std::max(1e-12, edgeLength)
                                        : small * draw.Between(-1, 1);
    aim.wish = Unit(FromFrame(aim.target, {std::cos(angle), std::sin(angle), rise}));
    if (draw.Below(8) == 0) aim.wish = aim.target[2];
    return aim;
}

void SetTranslation(SOLIDC& b, const Point3& start, const Point3& displacement)
{
    for (std::size_t r = 0; r < 3; ++r) {
        b.sweepStart[r][3] = float(start[r]);
        b.sweepEnd[r][3] = b.isSwept ? float(start[r] + displacement[r]) : b.sweepStart[r][3];
    }
}

/// The part of b - a across a segment from p to q, if a lies in the sphere over that segment, where
/// it counts as beside it, and is nearer than `step`.
void TakeStep(const float* a, const float* p, const float* q, double sign, Point3& step)
{
    const Point3 from = Sum(Widened(p), Widened(a), -1), to = Sum(Widened(q), Widened(a), -1),
                 along = Sum(to, from, -1);
    if (Product(from, to) >= 0) return;
    const Point3 across = Sum(from, along, -Product(from, along) / Product(along, along));
    if (LengthOf(across) < LengthOf(step)) step = Sum({}, across, sign);
}

/// From an edge to a parallel side that it hits, the nearest way. Both lie in the plane, but for
/// the rounding of its normal, which concerns the side's own height alone.
Point3 StepToSide(const float (*edge)[3], const float* p, const float* q, const float* plane)
{
    Point3 step{HUGE_VAL, 0, 0};
    for (int end = 0; end < 2; ++end) {
        TakeStep(end ? q : p, edge[0], edge[1], -1, step);
        TakeStep(edge[end], p, q, 1, step);
    }
    return Sum(step, Widened(plane), -Product(step, Widened(plane)));
}

/// From the end of an edge to a point beyond it on its line.
Point3 StepBeyond(const float (*edge)[3], const Point3& point)
{
    const Point3 from = Sum(point, Widened(edge[0]), -1), to = Sum(point, Widened(edge[1]), -1),
                 along = Sum(Widened(edge[1]), Widened(edge[0]), -1);
    return Product(from, along) < 0 ? from : Product(to, along) > 0 ? to : Point3{};
}

/// Fills in how the edge hits the target, when it does.
bool Judge(Contact& c, const PlacedEdge& edge)
{
    const OCTREENODE* leaf = c.a->octree->root;
    if (!c.a->octree->IntersectingBboxes(c.a->octree->root->bbox, const_cast<float*>(edge.box)))
        return false;
    const T_LIST& target = c.a->triangles[c.target];
    CrossingState state;
    for (T_LIST* t = leaf->listHead; t; t = NextTriangle(t)) {
        const bool hit = EdgeCrossesTriangle(edge.ends, t->corners, state);
        if (t != &target) continue;
        if (!hit) return false;
        float plane[4] = {};
        c.edge = edge;
        c.hasPlane = CalcPlane(target.corners[0], 3, plane);
        const double s0 = dot(state.plane, edge.ends[0]) + state.plane[3],
                     s1 = dot(state.plane, edge.ends[1]) + state.plane[3], T = kContact;
        const bool inPlane = std::fabs(s0) <= T && std::fabs(s1) <= T;
        c.endInPlane = std::fabs(s0) <= T || std::fabs(s1) <= T;
        c.onEdge = !inPlane && std::fabs(s1 - s0) > T && (s0 > 0) != (s1 > 0);
        c.hasPoint = !inPlane;
        std::copy_n(state.point, 3, c.point);
        c.step = inPlane || c.onEdge ? Point3{} : StepBeyond(edge.ends, Widened(state.point));
        c.isBesideSide = false;
        float u[3], v[3], n[3], out[6];
        Subtract(edge.ends[1], edge.ends[0], u);
        for (int i = 0; inPlane && i < 3; ++i) {
            const float *p = target.corners[i], *q = target.corners[(i + 1) % 3];
            Subtract(q, p, v);
            cross(u, v, n);
            if (!SegmentsIntersecting(edge.ends[0], edge.ends[1], p, q, kContact, out)) continue;
            const bool parallel = dot(n, n) < 1e-5;
            const Point3 step = parallel ? StepToSide(edge.ends, p, q, state.plane) : Point3{};
            if (!c.isBesideSide || LengthOf(step) < LengthOf(c.step)) c.step = step;
            c.isBesideSide = true;
            if (parallel) continue;
            c.onEdge = c.hasPoint = true;
            std::copy_n(out, 3, c.point);
        }
        return true;
    }
    return false;
}

bool Hits(Contact& c)
{
    Probe probe{};
    const T_LIST& triangle = c.b->triangles[c.probe];
    probe.index = c.probe;
    std::copy_n(triangle.normal, 3, probe.normal);
    for (int slot = 0; slot < 3; ++slot) {
        std::copy_n(c.b->vertices[triangle.vertex[slot]].position, 3, probe.corner[slot]);
        // Read from the records, where the tree has a short cut. The lower triangle gives an edge.
        const EdgeRec& edge = c.b->edges[triangle.edge[slot]];
        probe.side[slot] = AcrossEdge(edge, c.probe) > c.probe ? Probe::kForeign : Probe::kNotOwn;
    }
    PlacedEdges edges;
    const float* box = c.a->octree->root->bbox;
    if (c.pass == Pass::kSweptQuads)
        CollectSweptQuadEdges(*c.b, probe, box, edges);
    else
        CollectOwnEdges(*c.b, probe, c.pass == Pass::kStart, box, edges);
    for (int e = 0; e < edges.count; ++e)
        if (Judge(c, edges.edge[e])) return true;
    return false;
}

/// Moves b along a direction as long as there is a hit.
void Push(Contact& c, const Point3& direction, Point3& start, const Point3& displacement)
{
    const auto hitsAt = [&](double distance) {
        SetTranslation(*c.b, Sum(start, direction, distance), displacement);
        return Hits(c);
    };
    double in = 0, out = 1e-5;
    while (out < 1e3 && hitsAt(out)) in = out, out *= 4;
    for (int i = 0; i < 26; ++i) (hitsAt(0.5 * (in + out)) ? in : out) = 0.5 * (in + out);
    hitsAt(in);
    start = Sum(start, direction, in);
}

/// Turns b so that an edge of the pass runs as wished, and puts it near the target.
void PlaceAtTarget(const Sampler& draw, Contact& c, Aim& aim, Point3& start, Point3& displacement)
{
    const T_LIST& triangle = c.b->triangles[c.probe];
    const int slot = draw.Below(3);
    const Point3 p0 = Widened(c.b->vertices[triangle.vertex[slot]].position),
                 p1 = Widened(c.b->vertices[triangle.vertex[(slot + 1) % 3]].position);
    const Frame stretch = DrawStretch(draw);
    const Point3 edge = InFrame(stretch, Sum(p1, p0, -1));
    const double length = LengthOf(edge);
    aim = DrawAim(draw, c.a->triangles[c.target], length);
    const Frame from = FrameOf(edge, AnyPoint(draw)),
                to = FrameOf(aim.wish, draw.Below(2) ? aim.target[2] : AnyPoint(draw));
    const bool turned = draw.Below(8) != 0;
    for (std::size_t column = 0; column < 3; ++column) {
        Point3 image =
            Sum({}, {stretch[0][column], stretch[1][column], stretch[2][column]}, aim.scale);
        if (turned) image = FromFrame(to, InFrame(from, image));
        for (std::size_t r = 0; r < 3; ++r)
            c.b->sweepStart[r][column] = c.b->sweepEnd[r][column] = float(image[r]);
    }
    const auto placed = [&](const Point3& p) {
        Point3 at{};
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t i = 0; i < 3; ++i) at[r] += c.b->sweepStart[r][i] * p[i];
        return at;
    };
    if (c.b->isSwept) {
        // Along the wish, in the target's plane, along an edge back so that a diagonal is short,
        // along a face of b (by its normal at rest, which sorts it).
        const double far = draw.Size(1e-4, 10), rise = draw.Size(1e-4, 1e-2);
        const Point3 normal = Widened(triangle.normal),
                     across = Unit(Normal(normal, AnyPoint(draw)));
        const Point3 choices[] = {Sum({}, aim.wish, far), Sum({}, aim.target[1], far),
                                  Sum(placed(Sum(p1, p0, -1)), AnyPoint(draw), 1e-2 * far),
                                  Sum({}, Sum(across, normal, draw.Between(-2e-5, 0)), far),
                                  // so that a diagonal rises little and runs far
                                  Sum(Sum(placed(Sum(p1, p0, -1)), aim.target[2], rise),
                                      aim.target[std::size_t(draw.Below(2))], 30 * far),
                                  Sum({}, AnyPoint(draw), far)};
        displacement = choices[draw.Below(6)];
        const Point direction = ToFloats(Unit(displacement));
        std::copy_n(direction.begin(), 3, c.b->sweepDirection);
    }
    const double ends[] = {0, 1, 0.5, draw.Between(0, 1)};
    start = Sum(aim.foot, placed(Sum(p0, Sum(p1, p0, -1), ends[draw.Below(4)])), -1);
    if (c.pass == Pass::kEnd) start = Sum(start, displacement, -1);
    if (c.pass == Pass::kSweptQuads) start = Sum(start, displacement, -0.5 * draw.Below(3));
    SetTranslation(*c.b, start, displacement);
}

} // namespace

std::optional<Contact> DrawContact(unsigned seed)
{
    const Draws draw(seed);
    Contact c;
    int aimed = 0;
    c.a = MakeTargetSolid(draw, aimed);
    c.b = BareSolid(DrawProbes(draw));
    if (c.b->SC_BuildVertexList() || c.b->SC_BuildEdgesList()) return {};
    for (auto* m : {c.b->sweepStart, c.b->sweepEnd}) m[3][3] = 1;
    c.target = draw.Below(aimed);
    for (int attempt = 0; attempt < 6; ++attempt) {
        const Pass passes[] = {Pass::kEnd, Pass::kEnd, Pass::kStart, Pass::kSweptQuads,
                               Pass::kSweptQuads};
        const int kind = draw.Below(5);
        c.pass = passes[kind];
        c.b->isSwept = kind != 0;
        c.probe = draw.Below(c.b->triangleCount);
        Aim aim;
        Point3 start{}, displacement{};
        PlaceAtTarget(draw, c, aim, start, displacement);
        if (!Hits(c)) continue;
        for (int pushes = 1 + draw.Below(3); pushes > 0; --pushes) {
            const Point3 ways[] = {aim.wish, aim.target[0], aim.target[1], aim.target[2],
                                   AnyPoint(draw)};
            const double sign = draw.Below(2) ? 1 : -1;
            Push(c, Sum({}, ways[draw.Below(5)], sign), start, displacement);
        }
        // After the last trial the edge is that of the last hit.
        if (Hits(c)) return c;
    }
    return {};
}
