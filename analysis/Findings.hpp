// What a check finds, and what each kind of finding is called everywhere.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

// Error: don't use it. Warning: look. Note: worth knowing.
enum class Severity { Error, Warning, Note };

// In the order of kKindNames.
enum class Kind {
    UnreadableLine,
    HarmlessLine,
    CovarianceAsPoints,
    DroppedPoint,
    Seam,
    NotRead,
    Duplicate,
    FewPoints,
    Unanswered,
    Gap,
    Steps,
    Interpolation,
    TimeSpan,
    TimeScale,
    NoVelocity,
    VelocityFrame,
    VelocityUnit,
    VelocityMismatch,
    PositionUnit,
    FrameMismatch,
    FrameUnknown,
    Jump,
    Outlier,
    BelowGround,
    CoarseDigits,
    NotExamined,
    CovarianceNotPositive,
    CovarianceBetween,
    CovarianceMissing,
    CovarianceSize
};

inline constexpr std::array<const char*, 30> kKindNames{"unreadable-line",
                                                        "harmless-line",
                                                        "covariance-as-points",
                                                        "dropped-point",
                                                        "seam",
                                                        "not-read",
                                                        "duplicate",
                                                        "few-points",
                                                        "unanswered",
                                                        "gap",
                                                        "steps",
                                                        "interpolation",
                                                        "time-span",
                                                        "time-scale",
                                                        "no-velocity",
                                                        "velocity-frame",
                                                        "velocity-unit",
                                                        "velocity-mismatch",
                                                        "position-unit",
                                                        "frame-mismatch",
                                                        "frame-unknown",
                                                        "jump",
                                                        "outlier",
                                                        "below-ground",
                                                        "coarse-digits",
                                                        "not-examined",
                                                        "covariance-not-positive",
                                                        "covariance-between",
                                                        "covariance-missing",
                                                        "covariance-size"};
static_assert(kKindNames.size() == static_cast<std::size_t>(Kind::CovarianceSize) + 1);

inline const char* nameOf(Kind kind) { return kKindNames[static_cast<std::size_t>(kind)]; }
std::optional<Kind> kindNamed(std::string_view name);

const char* nameOf(Severity severity);  // "error", "warning", "note"

// Components in the order radial, in-track, cross-track.
struct JumpSize {
    std::array<double, 3> dv_m_s;
    std::optional<std::array<double, 3>> dx_m;
};

struct Finding {
    Severity severity;
    Kind kind;
    std::string text;
    std::optional<double> value = {};  // what the kind measures
    const char* unit = "";             // of the value
    std::optional<Ds50> from = {};
    std::optional<Ds50> to = {};
    std::string file = {};
    std::int64_t line = 0;  // 0: none; in a binary file the record
    std::optional<JumpSize> jump = {};
};

}  // namespace vorlandi::analysis
