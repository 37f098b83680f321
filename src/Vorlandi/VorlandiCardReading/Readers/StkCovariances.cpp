#include "Vorlandi/VorlandiCardReading/Readers/StkCovariances.hpp"

#include "CoreServices/TraceLog.hpp"
#include "Vorlandi/VorlandiCardReading/ReaderSupport.hpp"

namespace vorlandi::stk {
namespace {

constexpr std::string_view kNoStateLeft = "no state without a covariance at this time.";

void leaveOut(const ReadPlace& section, MessageText reason) {
    tracelogerror(reasonAt(section, kName, reason << "; the covariances are left out."));
}

// Where a file that writes the upper triangle row by row has a value of the lower one: row and column from 0, the
// column not beyond the row.
constexpr std::size_t placeInUpper(std::size_t row, std::size_t column, std::size_t rows) noexcept {
    return column * rows - column * (column + 1) / 2 + row;
}

PointCovariance covarianceOf(std::span<const double> values, std::size_t rows, Triangle order, double km) noexcept {
    PointCovariance covariance;
    std::size_t k = 0;
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column <= row; ++column, ++k) {
            covariance.cov[k] = values[order == Triangle::Lower ? k : placeInUpper(row, column, rows)] * (km * km);
        }
    }
    return covariance;
}

}  // namespace

bool Covariances::isOfStates(const ReadPlace& section, std::int32_t frame) const {
    const auto* const row = find(kFrames, frame_);
    if (frame_.empty() || (row != nullptr && row->value == frame)) return true;
    leaveOut(section, MessageText("CovarianceCoordinateSystem ")
                          << frame_ << " is not read; the states' CoordinateSystem is");
    return false;
}

bool Covariances::open(std::size_t rows, const StateSystem* states) {
    const auto* const order = find(kTriangles, triangle_);
    if (order == nullptr) {
        leaveOut(input_.place(), triangle_.empty() ? notRead("a section without CovarianceFormat", "", kTriangles)
                                                   : notRead("CovarianceFormat", triangle_, kTriangles));
        return false;
    }
    if (states != nullptr && !isOfStates(input_.place(), states->frame)) return false;
    if (states == nullptr) keptSection_ = input_.keep();
    rows_ = rows;
    order_ = order->value;
    return true;
}

void Covariances::readLine(std::string_view text, const StateSystem* states) {
    if (taken_ == 0) {
        firstLine_ = input_.place().line;
        firstNumber_ = input_.place().number;
        bad_ = false;
    }
    FreeFormList list = input_.list(text);
    for (; taken_ < needed(); ++taken_) {
        const ReadOutcome outcome = list.next(numbers_[taken_]);
        if (outcome == ReadOutcome::EndOfData) return;
        bad_ = bad_ || outcome == ReadOutcome::Error;
    }
    // Numbers left on its last line mean that an earlier line was short: they belong to the next covariance.
    double further = 0.0;
    bad_ = bad_ || (!list.endedBySlash() && list.next(further) == ReadOutcome::Success);
    complete(states);
}

void Covariances::complete(const StateSystem* states) {
    const ReadPlace place{input_.fileName(), firstNumber_, firstLine_};
    taken_ = 0;
    if (bad_)
        return skip(place, MessageText("a covariance is a time and ")
                               << static_cast<std::int64_t>(needed() - 1) << " numbers, and ends its line.");
    Kept kept{numbers_[0], {}, rows_, order_, place.number, 0};
    std::copy_n(numbers_.begin() + 1, needed() - 1, kept.values.begin());
    if (states != nullptr) return cover(kept, *states, place);
    texts_ += place.line;
    kept.textEnd = texts_.size();
    kept_.push_back(kept);
}

void Covariances::cover(const Kept& kept, const StateSystem& states, const ReadPlace& place) {
    if (states.time.isInLeapSecond(kept.seconds)) return;  // its point is dropped
    const PointCovariance covariance = covarianceOf(kept.values, kept.rows, kept.triangle, states.km);
    const auto give = [&](const Vorlanstate&, PointCovariance& given) {
        given = covariance;
        return true;
    };
    const double time = states.time.utcAt(kept.seconds);
    if (input_.records().cover(record_, time, give)) return;
    if (BlockRecords::hasCovarianceAt(record_.points, time, covariance)) {
        repeated_.push_back({time, KeptLine(place)});
    } else {
        skip(place, kNoStateLeft);
    }
}

void Covariances::skip(const ReadPlace& place, std::string_view reason) {
    input_.blame(place.line, place.number);
    input_.skipBadLine(kName, reason);
}

void Covariances::close() {
    if (taken_ == 0) return;
    bad_ = true;
    complete(nullptr);
}

void Covariances::finish(const StateSystem& states) {
    if (!kept_.empty() && isOfStates(keptSection_.placeIn(input_.fileName()), states.frame)) coverKept(states);
    for (const Repeated& repeated : repeated_) {
        if (!input_.records().hasBoundaryAt(repeated.time))
            skip(repeated.line.placeIn(input_.fileName()), kNoStateLeft);
    }
}

void Covariances::coverKept(const StateSystem& states) {
    std::size_t begin = 0;
    for (const Kept& kept : kept_) {
        const auto line = std::string_view(texts_).substr(begin, kept.textEnd - begin);
        cover(kept, states, {input_.fileName(), kept.line, line});
        begin = kept.textEnd;
    }
}

}  // namespace vorlandi::stk
