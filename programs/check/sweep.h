// One pair of bodies along one move, at one tolerance.
#ifndef SCAPI_CHECK_SWEEP_H
#define SCAPI_CHECK_SWEEP_H

#include "checker.h"

namespace check
{

/// What a sweep works with.
struct SweepContext {
    const Job& job;
    const Path& path;
    const Body& a;
    const Body& b;
    scapi_query* query;
    Work& work;
};

/// An upper bound of the distance of the two bodies, truly placed at a time of the path.
/// @param bound  beyond which it doesn't matter; then infinite
double DistanceAt(const SweepContext& context, double time, double bound);

enum class Outcome { kClear, kContact, kUndecided };

struct SweepResult {
    Outcome outcome = Outcome::kClear;
    double time = 1;            ///< kContact: of it; kUndecided: clear before
    double clearUntil = 1;      ///< clear at all times below, from the start of the sweep on
    double distance = HUGE_VAL; ///< kContact: an upper bound of the distance then
    bool inside = false;        ///< kContact: one lies in the other
    bool openMesh = false;      ///< kUndecided: for the want of a closed mesh
    Vec point{}, normal{};      ///< kContact
};

/// Clear is a proof: at every time from `start` on the bodies are farther apart than the tolerance,
/// and neither is inside the other. Contact: at that time they are at most tolerance + precision
/// apart (docs/check.md, Lemma C4).
/// @param leaving  contact that is there at the start may last while it gets no deeper
SweepResult Sweep(const SweepContext& context, double tolerance, double start, bool leaving);

} // namespace check

#endif
