// Boxes of six floats: minimum x, y, z, maximum x, y, z. Which of two equal values stays is fixed
// in each function, so that 0 and -0 come out alike everywhere.
#ifndef SCAPI_GEOMETRY_BBOX_H
#define SCAPI_GEOMETRY_BBOX_H

/// The empty box has minimum 1e10 and maximum -1e10 on each axis.
constexpr float kEmptyExtreme = 1e10f;

inline void ClearBbox(float* box)
{
    for (int axis = 0; axis < 3; ++axis) box[axis] = kEmptyExtreme, box[axis + 3] = -kEmptyExtreme;
}

/// Box of `count` points, three floats each; the first of equal values stays.
template <int count>
inline void PointsBbox(const float (*points)[3], float* box)
{
    for (int axis = 0; axis < 3; ++axis) {
        float low = points[0][axis], high = low;
        for (int i = 1; i < count; ++i) {
            if (points[i][axis] < low) low = points[i][axis];
            if (points[i][axis] > high) high = points[i][axis];
        }
        box[axis] = low, box[axis + 3] = high;
    }
}

inline void TriangleBbox(const float (*corners)[3], float* box) { PointsBbox<3>(corners, box); }

/// Box of an edge. @return 0
inline int CalcEdgeBbox(const float (*edge)[3], float* box)
{
    PointsBbox<2>(edge, box);
    return 0;
}

/// Widens `box` to hold a point, the old value staying on a tie; null empties the box.
inline void ExtendBbox(float* box, const float* point)
{
    if (!point) return ClearBbox(box);
    for (int axis = 0; axis < 3; ++axis) {
        if (point[axis] < box[axis]) box[axis] = point[axis];
        if (point[axis] > box[axis + 3]) box[axis + 3] = point[axis];
    }
}

/// Widens `box` to hold `other`, whose value wins on a tie; null empties the box.
inline void MergeBbox(float* box, const float* other)
{
    if (!other) return ClearBbox(box);
    for (int axis = 0; axis < 3; ++axis) {
        if (!(other[axis] > box[axis])) box[axis] = other[axis];
        if (!(other[axis + 3] < box[axis + 3])) box[axis + 3] = other[axis + 3];
    }
}

/// Not rounded.
inline double Extent(const float* box, int axis) { return double(box[axis + 3]) - box[axis]; }

/// Strict overlap of two boxes, `b` widened by `margin`; x, y, z in turn, minimum first.
inline bool BboxesMeet(const float* a, const float* b, double margin)
{
    for (int axis = 0; axis < 3; ++axis)
        if (!(b[axis + 3] + margin > a[axis]) || !(b[axis] - margin < a[axis + 3])) return false;
    return true;
}

#endif
