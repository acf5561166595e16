// Random pairs of solids with a motion, chosen to expose a query that prunes too much.
#ifndef SCAPI_TESTS_SCENES_H
#define SCAPI_TESTS_SCENES_H

#include <cstdint>
#include <functional>
#include <memory>

#include "support/meshes.h"

struct Scene {
    std::unique_ptr<SOLIDC> a, b;
    Matrix start, end;
};

/// @param random  the source of numbers; equal numbers give equal scenes
Scene RandomScene(const std::function<std::uint32_t()>& random);

#endif
