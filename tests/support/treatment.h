// What hosts do to a pair of solids before they ask: rotations in place, and motions that are no
// motions of a machine. And solids with facets without area in one crowded leaf.
#ifndef SCAPI_TESTS_TREATMENT_H
#define SCAPI_TESTS_TREATMENT_H

#include "support/scenes.h"

struct Treatment {
    bool rotatesFirst, rotatesBefore, rotatesAfter; ///< the first solid; the second, before or
                                                    ///< after its motion is defined
    bool movesFirst;
    Matrix rotation[3], start, end, firstStart, firstEnd;
};

/// @param random  as in RandomScene
Treatment RandomTreatment(const std::function<std::uint32_t()>& random, const Scene& scene);

/// Treats the pair and asks both ways. @return the fast answer and that of the plain walk
std::pair<int, int> AskTreated(Scene& scene, const Treatment& treatment);

/// The answer of the fast way and that of the plain walk for a second solid that moves.
std::pair<int, int> AskBothWays(SOLIDC& a, SOLIDC& b, Matrix start, Matrix end);

/// Everything that a host can do with a solid, however strange its numbers.
void UseFully(SOLIDC& solid);

/// On a coarse grid, give or take the contact tolerance, so that all special cases are frequent.
Scene RandomCrowdedScene(const std::function<std::uint32_t()>& random);

#endif
