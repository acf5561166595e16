#ifndef SCAPI_VERSION_H
#define SCAPI_VERSION_H

/* The version of both libraries: the one place where it is written. A host compiled with another
 * SCAPI_VERSION_MAJOR than that of the library it runs with does not work. */
#define SCAPI_VERSION_MAJOR 0
#define SCAPI_VERSION_MINOR 1
#define SCAPI_VERSION_PATCH 0

/* For comparisons: 10203 is 1.2.3. */
#define SCAPI_VERSION                                                                              \
    (SCAPI_VERSION_MAJOR * 10000 + SCAPI_VERSION_MINOR * 100 + SCAPI_VERSION_PATCH)

#endif
