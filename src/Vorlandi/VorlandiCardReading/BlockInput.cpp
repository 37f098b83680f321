#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"

#include "CoreServices/TraceLog.hpp"
#include "Vorlandi/VorlandiCardReading/ReaderSupport.hpp"

namespace vorlandi {

ReadOutcome BlockInput::skipLines(int count) {
    std::string_view line;
    for (; count > 0; --count) {
        if (const ReadOutcome outcome = readLine(line); outcome != ReadOutcome::Success) return outcome;
    }
    return ReadOutcome::Success;
}

ReadOutcome BlockInput::endAtHeader(std::string_view& line, bool isFreeText, std::string_view ownFormat) {
    const BlockHeader header = headerOn(line);
    const bool ends = header && (header.isDistinct || !isFreeText) && header.format != ownFormat;
    if (!ends || place_.number <= headerNumber_) return ReadOutcome::Success;
    unit_->unreadLine();
    line = {};
    blame(line, place_.number);
    return ReadOutcome::EndOfData;
}

void BlockInput::skipLongLine(std::string_view& line) const {
    skipBadLine(kScanner, MessageText("it has more than ")
                              << static_cast<std::int64_t>(InputUnit::kLongestWholeLine) << " columns");
    line = {};
}

void BlockInput::appendLate(const Vorlanstate& point, const Vorlanrecord& record, const PointCovariance* covariance) {
    hasLatePoints_ = true;
    if (rules_.has(Rule::SeamBeginsRecord) && record.numberOfPoints() > 0) {
        records_.takeLate(point, covariance, record, place_);
    } else {
        observeRead(VORLAN_READ_DROPPED, place_);
    }
}

void BlockInput::refuseSegment(Vorlanrecord& record) {
    record.points = {};
    records_ = {};
    sink_->refuse();
}

void BlockInput::skipbadephempoint(std::string_view reader, std::string_view text) const {
    observeRead(VORLAN_READ_BAD, place_);
    tracelogerror(MessageText("*** ") << reader << " : Bad ephemeris data. ***");
    tracelogerror(text.substr(0, kEphemerisColumns));
}

void BlockInput::skipBadLine(std::string_view reader, std::string_view reason) const {
    reportBadLine(place_, reader, reason);
}

}  // namespace vorlandi
