// Counts the pairs of satellites that are not compared.
#pragma once

#include <cstdint>
#include <map>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

class FramePairs {
public:
    void add(std::int32_t number, Frame frame) {
        ++byFrame_[frame];
        if (isName(number)) ++byNumber_[number][frame];
    }

    // Of different frames; pairs with the same number count only if they would be compared.
    std::uint64_t countAcross(bool sameNumber) const {
        std::uint64_t pairs = across(byFrame_);
        if (!sameNumber)
            for (const auto& [number, frames] : byNumber_)
                pairs -= across(frames);
        return pairs;
    }

    // Of one frame, with the same number.
    std::uint64_t countOfSameNumber() const {
        std::uint64_t pairs = 0;
        for (const auto& [number, frames] : byNumber_)
            for (const auto& [frame, count] : frames)
                pairs += count * (count - 1) / 2;
        return pairs;
    }

private:
    using Counts = std::map<Frame, std::uint64_t>;

    static std::uint64_t across(const Counts& counts) {
        std::uint64_t pairs = 0;
        std::uint64_t before = 0;
        for (const auto& [frame, count] : counts) {
            pairs += before * count;
            before += count;
        }
        return pairs;
    }

    Counts byFrame_;
    std::map<std::int32_t, Counts> byNumber_;
};

}  // namespace vorlandi::analysis
