// The covariances of an STK file: a time and the values of a triangle, which may go on over several lines. Those before
// the states are kept until the states have been read.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "TimeLibrary/ElapsedTime.hpp"
#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/StkKeywords.hpp"

namespace vorlandi::stk {

// What the states say about their covariances.
struct StateSystem {
    ElapsedTime& time;
    double km;  // in a distance unit
    std::int32_t frame;
};

class Covariances {
public:
    Covariances(BlockInput& input, Vorlanrecord& record) : input_(input), record_(record) {}

    // The values of CovarianceFormat and CovarianceCoordinateSystem.
    void setTriangle(std::string_view name) { triangle_ = name; }
    void setFrame(std::string_view name) { frame_ = name; }

    // Begins a section, whose keyword is on the line read last; `states` if there are any so far. False, with a
    // message, if the section is left out.
    bool open(std::size_t rows, const StateSystem* states);

    // A line of a section.
    void readLine(std::string_view text, const StateSystem* states);

    // The section has ended: a covariance without its last values is a bad line.
    void close();

    // All states and boundaries have been read: the states get the covariances before them.
    void finish(const StateSystem& states);

private:
    static constexpr std::size_t kMostNumbers = 1 + kCovarianceSize;

    struct Kept {
        double seconds;
        std::array<double, kCovarianceSize> values;
        std::size_t rows;
        Triangle triangle;
        std::int64_t line;
        std::size_t textEnd;  // in texts_
    };

    // A covariance that a point already has, which is regular at a segment boundary.
    struct Repeated {
        double time;
        KeptLine line;
    };

    std::size_t needed() const noexcept { return 1 + rows_ * (rows_ + 1) / 2; }
    bool isOfStates(const ReadPlace& section, std::int32_t frame) const;
    void complete(const StateSystem* states);
    void cover(const Kept& kept, const StateSystem& states, const ReadPlace& place);
    void coverKept(const StateSystem& states);
    void skip(const ReadPlace& place, std::string_view reason);

    BlockInput& input_;
    Vorlanrecord& record_;
    std::string triangle_, frame_;
    std::size_t rows_ = 0;
    Triangle order_ = Triangle::Lower;

    // The covariance that is being read.
    std::array<double, kMostNumbers> numbers_{};
    std::size_t taken_ = 0;
    bool bad_ = false;
    InlineChars<kEphemerisColumns> firstLine_;
    std::int64_t firstNumber_ = 0;

    std::vector<Kept> kept_;
    std::vector<Repeated> repeated_;
    std::string texts_;  // the first lines of those kept, one after the other
    KeptLine keptSection_;
};

}  // namespace vorlandi::stk
