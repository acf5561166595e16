#ifndef SCAPI_SWEEP_DEFINE_H
#define SCAPI_SWEEP_DEFINE_H

#include "scapi/solid.h"

/// As SC_GTsweep, but where nothing can come between, the places of vertices and what hangs on them
/// stay owed until someone reads them: a fast query does not.
void DefineSweepLate(SOLIDC& solid, float (*start)[4], float (*end)[4]);

/// Pays what a late sweep owes, if it owes anything.
void SettleSweep(SOLIDC& solid);

/// To be called before records change, by whatever changes them once a solid is loaded: a sweep
/// counts with those that it was defined on, and the trees of queries are made from them.
void BeforeRecordsChange(SOLIDC& solid);

#endif
