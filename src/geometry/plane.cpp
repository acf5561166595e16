#include "geometry/predicates.h"
#include "geometry/vector.h"

int CalcPlane(const float* points, int count, float* plane)
{
    float normal[3], centroid[3];
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        // Running sums that are floats: each addition rounds.
        float sum = 0, centre = 0;
        const float* p = points + 3 * (count - 1);
        for (const float* q = points; q != points + 3 * count; q += 3) {
            sum = float(sum + (double(p[j]) - q[j]) * (double(p[k]) + q[k]));
            centre = float(double(centre) + q[i]);
            p = q;
        }
        normal[i] = sum, centroid[i] = centre;
    }
    const double s = dot(normal, normal);
    if (s < 1e-20) {
        SetStatus(2, kNoPlane);
        return 0;
    }
    const double scale = 1.0 / std::sqrt(s);
    for (int i = 0; i < 3; ++i) plane[i] = float(normal[i] * scale);
    plane[3] = float(-dot(plane, centroid) / count);
    return 1;
}
