// Random numbers for calls of shaders, the same with every compiler: legal ones, and in some rounds
// now and then one that nobody means.
#pragma once

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "frame/types.h"
#include "frame/vector.h"

class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) { is_hostile_ = below(3) == 0; }

    // splitmix64: G. Steele, D. Lea, C. Flood, "Fast Splittable Pseudorandom Number Generators",
    // 2014.
    std::uint64_t next() {
        std::uint64_t z = state_ += 0x9e3779b97f4a7c15;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }

    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }
    bool one_in(int n) { return below(n) == 0; }
    double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    bool strikes() { return is_hostile_ && one_in(12); }

    // Within low..high; of a range without end mostly of the order of 1.
    double number(double low, double high) {
        if (strikes()) return hostile();
        if (one_in(6)) return one_in(2) ? std::max(low, -1.0) : std::min(high, 1.0);
        if (high < 1e30) return low + unit() * (high - low);
        const double size = std::exp(unit() * 11 - 6);
        return low > -1e30 ? low + size : one_in(2) ? size : -size;
    }
    miScalar scalar(double low, double high) { return static_cast<miScalar>(number(low, high)); }
    miScalar scalar() { return scalar(-1e38, 1e38); }

    miInteger integer(int low, int high) {
        constexpr int kHostile[] = {-1, 0, 7, 1'000'000, INT_MAX, INT_MIN};
        return strikes() ? kHostile[below(std::size(kHostile))] : low + below(high - low + 1);
    }

    miColor color(double low = 0, double high = 2) {
        const miScalar r = scalar(low, high), g = scalar(low, high), b = scalar(low, high);
        return {r, g, b, one_in(3) ? 1 : scalar(0, 1)};
    }

    miVector point() {
        const miScalar x = scalar(), y = scalar(), z = scalar();
        return {x, y, z};
    }

    // Of unit length, sometimes along an axis.
    miVector direction() {
        if (strikes()) return point();
        const auto part = [this] { return one_in(5) ? 0 : static_cast<miScalar>(unit() - 0.5); };
        const miScalar x = part(), y = part(), z = part();
        return is_zero({x, y, z}) ? miVector{0, 0, -1} : normalized({x, y, z});
    }

  private:
    double hostile() {
        constexpr double kHostile[] = {0,       -1,   1e-45,    1e-38,     1e38, -1e38,
                                       FLT_MAX, 2e9f, INFINITY, -INFINITY, NAN};
        return kHostile[below(std::size(kHostile))];
    }

    std::uint64_t state_;
    bool is_hostile_;
};
