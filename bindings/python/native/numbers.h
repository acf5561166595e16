// Poses and motions as the rows of arrays of doubles.
#ifndef SCAPI_PYTHON_NUMBERS_H
#define SCAPI_PYTHON_NUMBERS_H

#include <algorithm>

#include "native.h"

inline constexpr int kPoseNumbers = 12;
inline constexpr int kMotionNumbers = 22;
static_assert(sizeof(scapi_motion) == kMotionNumbers * sizeof(double));

inline double* AsNumbers(scapi_motion& motion) { return reinterpret_cast<double*>(&motion); }

/// An array of one row, which stands for all, or of as many as there are questions.
template <int count>
class Numbers {
public:
    bool Read(Arguments& arguments) { return arguments.Read(buffer_, sizeof(double) * count); }
    /// Whether it serves n questions; else the error of Python is set.
    bool Fit(Py_ssize_t n)
    {
        const Py_ssize_t rows = buffer_.Size() / Py_ssize_t(sizeof(double) * count);
        step_ = rows == 1 ? 0 : count;
        if (rows == 1 || rows == n) return true;
        PyErr_Format(PyExc_ValueError, "%zd rows for %zd results", rows, n);
        return false;
    }
    const double* At(Py_ssize_t i) const
    {
        return static_cast<const double*>(buffer_.Data()) + i * step_;
    }
    void Copy(Py_ssize_t i, double* out) const { std::copy_n(At(i), count, out); }

private:
    Buffer buffer_;
    Py_ssize_t step_ = 0;
};

#endif
