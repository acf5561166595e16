// Oriented bounding boxes, one in each SIMD lane.
#ifndef SCAPI_BVH_OBB_LANES_H
#define SCAPI_BVH_OBB_LANES_H

#include "geometry/obb.h"
#include "geometry/simd.h"

struct ObbLanes {
    Lanes axis[3][3], centre[3], half[3];
    Lanes halfArea;
};

inline void SetLane(ObbLanes& boxes, int lane, const Obb& box)
{
    for (int i = 0; i < 3; ++i) {
        for (int r = 0; r < 3; ++r) boxes.axis[i][r][lane] = box.axis[i][r];
        boxes.centre[i][lane] = box.centre[i];
        boxes.half[i][lane] = box.half[i];
    }
    boxes.halfArea[lane] = box.halfArea;
}

/// Copies one lane of a record that is made of lanes alone into all of them.
template <class Record>
Record SplatLane(const Record& from, int lane)
{
    constexpr std::size_t kCount = sizeof(Record) / sizeof(Lanes);
    Record to;
    const float* source = reinterpret_cast<const float*>(&from) + lane;
    Lanes* target = reinterpret_cast<Lanes*>(&to);
    for (std::size_t i = 0; i < kCount; ++i) target[i] = Splat(source[kLanes * i]);
    return to;
}

#endif
