#ifndef SCAPI_EXPORT_H
#define SCAPI_EXPORT_H

/* SCAPI_EXPORT marks an exported symbol; all others are built with hidden visibility. */
#if defined(_WIN32)
#if defined(SCAPI_BUILDING)
#define SCAPI_EXPORT __declspec(dllexport)
#else
#define SCAPI_EXPORT __declspec(dllimport)
#endif
#else
#define SCAPI_EXPORT __attribute__((visibility("default")))
#endif

#endif
