// The times at which a fleet is sampled for close approaches.
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

// Evenly spaced in TAI. Windows lie half a step around each sample; only those samples count whose windows are in the
// spans.
class ApproachSamples {
public:
    // The spans rise; there is at least one.
    ApproachSamples(const std::vector<Span>& spans, double step_s);

    std::size_t count() const noexcept { return count_; }
    Ds50 time(std::size_t i) const { return at(static_cast<double>(numberOf(i))); }
    // From the first up to, but not including, the second.
    Span window(std::size_t i) const;

private:
    struct Stretch {
        std::size_t before;  // samples in earlier stretches
        std::size_t first;   // number of its first one, by the step
    };

    std::size_t numberAt(Ds50 time, double rounding) const;
    std::size_t numberOf(std::size_t i) const;
    Ds50 at(double steps) const;

    double first_days_;
    double step_days_;
    std::vector<Stretch> stretches_;
    std::size_t count_ = 0;
};

}  // namespace vorlandi::analysis
