// Two solids and a motion, from random numbers: hard on a query that leaves work out.
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

/// @param random  gives a number at each call; the same numbers give the same scene
Scene RandomScene(const std::function<std::uint32_t()>& random);

#endif
