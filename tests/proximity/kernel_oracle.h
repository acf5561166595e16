// The slow and obvious twin of the kernel, in rational numbers. It shares nothing with it.
#ifndef TESTS_PROXIMITY_KERNEL_ORACLE_H
#define TESTS_PROXIMITY_KERNEL_ORACLE_H

#include <gmpxx.h>

#include <array>
#include <vector>

#include "kernel/triangle_pair.h"

using Point = std::array<mpq_class, 3>;

struct Truth {
    mpq_class squaredDistance;
    std::vector<Point> shared; ///< what is shared has its corners among them
    proximity::PairRelation relation;
};

/// Of corners that are all finite.
Truth TruthOf(const proximity::Triangle& a, const proximity::Triangle& b);

/// To 256 bits.
mpf_class RootOf(const mpq_class& square);

#endif
