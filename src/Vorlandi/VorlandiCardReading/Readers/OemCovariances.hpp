// The covariance blocks of a segment of CCSDS OEM: matrices, each with an epoch, which belong to the points there.
#pragma once

#include <cstdint>
#include <string_view>

#include "Vorlandi/VorlandiCardReading/ReaderSupport.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/OemMetadata.hpp"

namespace vorlandi {

class OemCovariances {
public:
    OemCovariances(BlockInput& input, Vorlanrecord& record, std::string_view reader) noexcept
        : input_(input), record_(record), reader_(reader) {}

    void beginSegment(TimeScale timeScale, std::int32_t coordSys) noexcept;

    // Takes EPOCH or COV_REF_FRAME, which begin a matrix in either order. False if it is neither.
    bool take(const OemEntry& entry);

    // Takes a row of numbers, without blanks around it.
    void takeRow(std::string_view text);

    // Ends the matrix that was begun: a bad line if rows of it are missing.
    void end();

private:
    static constexpr std::size_t kRows = 6;

    void attach();
    void leaveOut();
    void reset() noexcept;

    BlockInput& input_;
    Vorlanrecord& record_;
    std::string_view reader_;
    TimeScale timeScale_ = TimeScale::Utc;
    std::int32_t coordSys_ = 0;
    InlineChars<kEphemerisColumns> leftOut_;  // the frame in the segment's last message

    // The matrix that is being read
    InlineChars<kEphemerisColumns> epochLine_;
    std::int64_t epochLineNumber_ = 0;
    std::optional<double> time_;
    InlineChars<kEphemerisColumns> frame_;  // blank for the segment's
    std::size_t rows_ = 0;
    bool hasNumbers_ = false;  // good or bad ones
    bool bad_ = false;         // and reported: the rest of it is skipped
    PointCovariance covariance_;
};

}  // namespace vorlandi
