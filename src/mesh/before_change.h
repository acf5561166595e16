// What has to happen before the records of a loaded solid change. Declared here, where records are
// changed from; what has to be done belongs to the parts above, which define it.
#ifndef SCAPI_MESH_BEFORE_CHANGE_H
#define SCAPI_MESH_BEFORE_CHANGE_H

#include "scapi/solid.h"

/// Completes a pending sweep and drops the query trees: a sweep counts with the records that it was
/// defined on, and the trees are built from them.
void BeforeRecordsChange(SOLIDC& solid);

/// Drops what queries have built from the records and the octree; it is built again on demand.
void ReleaseQueryTrees(SOLIDC& solid);

#endif
