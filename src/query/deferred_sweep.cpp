#include "query/deferred_sweep.h"

#include "bvh/query_trees.h"
#include "geometry/matrix.h"
#include "mesh/before_change.h"
#include "sweep/define.h"

void DefineSweepDeferred(SOLIDC& solid, float (*start)[4], float (*end)[4])
{
    // A vertex that a matrix cannot map keeps the position of the motion before, which would first
    // have to be completed. Where ProbeBoundsOf accepts a solid its vertices are finite.
    if (solid.isSimple || !IsAffine(start) || !IsAffine(end) || !ProbeBoundsOf(solid)) {
        solid.SC_GTsweep(start, end);
        return;
    }
    DefineMotion(solid, start, end);
    solid.sweepPending = 1;
}

void BeforeRecordsChange(SOLIDC& solid)
{
    CompleteSweep(solid);
    ReleaseQueryTrees(solid);
}
