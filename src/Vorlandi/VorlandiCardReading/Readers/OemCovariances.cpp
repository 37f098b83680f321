#include "Vorlandi/VorlandiCardReading/Readers/OemCovariances.hpp"

#include "CoreServices/TraceLog.hpp"
#include "Vorlandi/VorlandiProcessing/CovarianceAxes.hpp"

namespace vorlandi {
namespace {

struct AxesName {
    std::string_view name;
    CovarianceAxes axes;
};

constexpr AxesName kAxes[] = {
    {"RTN", CovarianceAxes::Uvw},
    {"RSW", CovarianceAxes::Uvw},
    {"RIC", CovarianceAxes::Uvw},
    {"TNW", CovarianceAxes::Tnw},
};

const AxesName* axesOf(std::string_view frame) noexcept {
    for (const AxesName& row : kAxes) {
        if (isWord(frame, row.name)) return &row;
    }
    return nullptr;
}

}  // namespace

void OemCovariances::beginSegment(TimeScale timeScale, std::int32_t coordSys) noexcept {
    timeScale_ = timeScale;
    coordSys_ = coordSys;
    leftOut_ = "";
    reset();
}

void OemCovariances::reset() noexcept {
    epochLineNumber_ = 0;
    time_.reset();
    frame_ = "";
    rows_ = 0;
    hasNumbers_ = false;
    bad_ = false;
}

bool OemCovariances::take(const OemEntry& entry) {
    const bool isEpoch = entry.is("EPOCH");
    if ((!isEpoch && !entry.is("COV_REF_FRAME")) || !entry.value) return false;
    const bool again = isEpoch || !std::string_view(frame_).empty();
    if (hasNumbers_ || (again && epochLineNumber_ > 0)) end();
    if (!isEpoch) {
        frame_ = *entry.value;
        return true;
    }
    epochLine_ = input_.place().line;
    epochLineNumber_ = input_.place().number;
    LastDay lastDay;
    bool inLeapSecond = false;
    time_ = epochToDs50utc(*entry.value, timeScale_, lastDay, inLeapSecond);
    bad_ = !time_ || inLeapSecond;  // the point of such an epoch is dropped
    if (!time_) input_.skipBadLine(reader_, kNoSuchDate);
    return true;
}

void OemCovariances::takeRow(std::string_view text) {
    hasNumbers_ = true;
    if (bad_) return;
    FreeFormList list = input_.list(text);
    const std::size_t size = rows_ + 1;
    const auto values = std::span(covariance_.cov).subspan(rows_ * size / 2, size);
    const bool isRow = text.find_first_of(",/") == std::string_view::npos && list.next(values) == ReadOutcome::Success;
    bad_ = !time_ || !isRow || !list.rest().empty();
    if (!time_) return input_.skipBadLine(reader_, "a covariance needs an EPOCH before its numbers");
    if (bad_) {
        return input_.skipBadLine(
            reader_, MessageText("row ") << static_cast<std::int64_t>(size) << " of a covariance has "
                                         << static_cast<std::int64_t>(size) << (size == 1 ? " number" : " numbers"));
    }
    if (++rows_ == kRows) attach();
}

void OemCovariances::end() {
    if (!bad_ && epochLineNumber_ > 0) {
        const ReadPlace place = input_.place();  // of the line that ends it
        input_.blame(epochLine_, epochLineNumber_);
        input_.skipBadLine(reader_, "the covariance of this epoch has fewer than 21 numbers");
        input_.blame(place.line, place.number);
    }
    reset();
}

// A matrix that is complete goes to the points of its time.
void OemCovariances::attach() {
    const AxesName* const axes = axesOf(frame_);
    const std::string_view frame = frame_;
    if (axes == nullptr && !frame.empty() && oemCoordSys(frame) != coordSys_) {
        leaveOut();
        return reset();
    }
    const bool rotates = coordSys_ == kEfg || coordSys_ == kEcr;
    bool hasPoint = false;
    const bool covered =
        input_.records().cover(record_, *time_, [&](const Vorlanstate& state, PointCovariance& covariance) {
            hasPoint = true;
            covariance = covariance_;
            return axes == nullptr || turnToFrame(state, rotates, axes->axes, covariance);
        });
    if (!covered) {
        input_.blame(epochLine_, epochLineNumber_);
        input_.skipBadLine(reader_,
                           hasPoint ? "position and velocity of the point at this epoch are parallel and have no axes"
                                    : "no state without a covariance at this epoch");
    }
    reset();
}

// One message for each frame, not for each matrix.
void OemCovariances::leaveOut() {
    if (isWord(leftOut_, frame_)) return;
    leftOut_ = frame_;
    MessageText reason("covariances with COV_REF_FRAME ");
    reason << std::string_view(frame_).substr(0, kShown) << " are left out; those in the frame of the states";
    for (const AxesName& row : kAxes)
        reason << ", " << row.name;
    tracelogerror(reasonAt({input_.fileName(), epochLineNumber_, epochLine_}, reader_, reason << " are read."));
}

}  // namespace vorlandi
