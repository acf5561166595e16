#include "scapi/proximity.h"

extern "C" const char* scapi_error_text(int code)
{
    switch (code) {
    case SCAPI_OK:
        return "no error";
    case SCAPI_ERROR_NULL:
        return "a pointer that has to be there is null: pass all but those that may be null";
    case SCAPI_ERROR_OPTIONS:
        return "options are not understood: set size to sizeof the struct, all that is not used to "
               "zero, flags and budget to valid values";
    case SCAPI_ERROR_TOLERANCE:
        return "a tolerance, resolution or bound is out of range: pass 0 to 1e9";
    case SCAPI_ERROR_MEMORY:
        return "not enough memory: use a coarser mesh, or fewer at a time";
    case SCAPI_ERROR_FILE:
        return "the file is missing, not a regular file, or no STL file: check the path";
    case SCAPI_ERROR_TRUNCATED:
        return "the file ends before the number of facets in its header: copy or export it again";
    case SCAPI_ERROR_FACET:
        return "a facet of a text file is damaged: look at the facet with the number reported";
    case SCAPI_ERROR_COORDINATE:
        return "a coordinate is not a number, infinite or beyond 1e9: look at the facet with the "
               "number reported, and at the scale";
    case SCAPI_ERROR_EMPTY:
        return "the mesh has no triangles: check the file or the arrays it was made from";
    case SCAPI_ERROR_INDEX:
        return "an index or count is out of range: count from 0 to one below the size";
    case SCAPI_ERROR_SHAPE:
        return "these sizes make no solid: they must be above zero, low below high, radii not "
               "negative, 3 to 100000 segments";
    case SCAPI_ERROR_TOO_MANY:
        return "more triangles than a mesh can hold: split it";
    case SCAPI_ERROR_POSE_NUMBER:
        return "a pose or motion holds a number that is not finite or too large: "
               "check for NaN, and for lengths beyond 1e9";
    case SCAPI_ERROR_POSE_TRANSPOSED:
        return "the pose looks as if it was stored by columns: pass three rows of four, rotation "
               "then translation";
    case SCAPI_ERROR_POSE_SCALED:
        return "the pose scales: scale the mesh when it is made, poses are rigid";
    case SCAPI_ERROR_POSE_MIRRORED:
        return "the pose mirrors (determinant -1): mirror the mesh instead, or exchange two axes";
    case SCAPI_ERROR_POSE_NOT_RIGID:
        return "the rotation of the pose is not orthonormal within 1e-6: make it so again";
    case SCAPI_ERROR_AXIS:
        return "the axis of a rotation is not of length 1 within 1e-6: divide it by its length";
    case SCAPI_ERROR_HALF_TURN:
        return "the poses are half a turn apart, either way round is as short: give axis and angle";
    case SCAPI_ERROR_BODY:
        return "the number names no body of the scene: pass one that scapi_scene_add gave";
    case SCAPI_ERROR_CANCELLED:
        return "the progress callback ended the check: nothing was shown, ask again";
    default:
        return "unknown code: not one of this library's";
    }
}
