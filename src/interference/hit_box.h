#ifndef SCAPI_INTERFERENCE_HIT_BOX_H
#define SCAPI_INTERFERENCE_HIT_BOX_H

/// A box that holds every point by which an edge can hit a triangle: the crossing point, or, for an
/// edge in the triangle's plane, a point near one of its sides; but for the room that parallel
/// segments have, see fast_detect.cpp.
/// @param plane  of the triangle, from CalcPlane
/// @param reach  greatest magnitude of a coordinate of the solid
/// @param box    six floats, rounded outwards
/// @return false when the triangle is too thin for its floats to say where its hits may lie
bool CalcHitBox(const float (*corners)[3], const float* plane, double reach, float* box);

/// The floats next to a number, below and above it.
float RoundDown(double value);
float RoundUp(double value);

#endif
