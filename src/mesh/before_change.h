// Hooks that run before the records of a loaded solid change. The mesh code calls them, but what
// they invalidate belongs to higher folders, which define them: so this folder needs no include of
// theirs.
#ifndef SCAPI_MESH_BEFORE_CHANGE_H
#define SCAPI_MESH_BEFORE_CHANGE_H

#include "scapi/solid.h"

/// Completes a pending sweep, whose results depend on the records as they were when it was defined,
/// and releases the query trees, which are built from the records.
void BeforeRecordsChange(SOLIDC& solid);

/// Releases the bounding volume hierarchies of the solid; the next query builds them again.
void ReleaseQueryTrees(SOLIDC& solid);

#endif
