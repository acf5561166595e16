#ifndef SCAPI_FILES_LOAD_POLICY_H
#define SCAPI_FILES_LOAD_POLICY_H

#include "scapi/solid.h"

/// Fills a new solid from the SLD file beside an STL file if that is current, else from the STL
/// file, and then writes the SLD file anew.
/// @return 0; 65535 when the source cannot be read; the result of SC_SaveSLDfile
int LoadThroughCache(SOLIDC& solid, unsigned char* path, int simple);

#endif
