#pragma once

/// Tolerant comparison and angle arithmetic; angles in degrees.
namespace QZM {

/// True when -eps < a - b < eps (strict bounds, no relative tolerance).
bool Equalf(float a, float b, float eps = 0.0001f);
bool Equald(double a, double b, double eps = 0.0000001);
/// Brings an angle into [0, 360]: 360 stays 360, -360 becomes 0.
float Angle2PI(float a);
/// to - from, corrected once into [-180, 180].
float AngleDiff(float from, float to);
/// Direction from point 1 to point 2 in [0, 360), y pointing up.
float VectorAngle(float x1, float y1, float x2, float y2);

} // namespace QZM
