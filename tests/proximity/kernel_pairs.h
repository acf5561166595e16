// Pairs of triangles that are hard in known ways, from a seeded generator.
#ifndef TESTS_PROXIMITY_KERNEL_PAIRS_H
#define TESTS_PROXIMITY_KERNEL_PAIRS_H

#include <random>
#include <string>

#include "kernel/triangle_pair.h"

struct Pair {
    proximity::Triangle a, b;
};

/// Calls visit(coordinate) for all eighteen.
void ForEachCoordinate(auto& pair, auto visit)
{
    for (auto* t : {&pair.a, &pair.b})
        for (auto& corner : t->corner)
            for (auto& x : corner) visit(x);
}

using Random = std::mt19937_64;

struct Family {
    const char* name;
    Pair (*make)(Random&);
    bool isTight; ///< well enough conditioned for a certificate of the promised width
};

extern const Family kFamilies[13];

/// Uniform in [low, high).
double Uniform(Random& random, double low, double high);

/// From the environment variable PROXIMITY_PAIRS, per family; else few enough for every day.
long PairCount(long usual);

std::string Print(const Pair& pair);

#endif
