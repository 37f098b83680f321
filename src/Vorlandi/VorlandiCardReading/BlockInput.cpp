#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"

#include "CoreServices/TraceLog.hpp"

namespace vorlandi {

void BlockInput::skipbadephempoint(std::string_view reader, std::string_view text) const {
    observeRead(VORLAN_READ_BAD, place_);
    tracelogerror(MessageText("*** ") << reader << " : Bad ephemeris data. ***");
    tracelogerror(text);
}

ReadOutcome BlockInput::skipLines(int count) {
    std::string_view line;
    for (; count > 0; --count) {
        if (const ReadOutcome outcome = readLine(line); outcome != ReadOutcome::Success) return outcome;
    }
    return ReadOutcome::Success;
}

ReadOutcome LineGroup::read(BlockInput& input) {
    std::int64_t firstNumber = 0;
    for (std::size_t k = 0; k < size_; ++k) {
        if (const ReadOutcome outcome = input.readLine(last_); outcome != ReadOutcome::Success) {
            return outcome;
        }
        if (k == 0) firstNumber = input.place().number;
        // The next read invalidates the line.
        if (k + 1 < size_) kept_[k] = last_;
    }
    input.blame((*this)[0], firstNumber);
    return ReadOutcome::Success;
}

namespace {

std::int32_t logProblem(std::string_view reader, std::string_view problem) {
    tracelogerror(MessageText("*** ") << reader << ": " << problem << " ***");
    return kBlockFailed;
}

}  // namespace

std::int32_t blockFailed(const ReadPlace& place, std::string_view reader, std::string_view problem) {
    observeRead(VORLAN_READ_BAD, place);
    return logProblem(reader, problem);
}

std::int32_t blockFailedWithLine(const BlockInput& input, std::string_view reader, std::string_view problem) {
    observeRead(VORLAN_READ_BAD, input.place());
    tracelogerror(input.place().line);
    return logProblem(reader, problem);
}

std::int32_t blockRead(Vorlanrecord& record) noexcept {
    if (record.numberOfPoints() > 0) record.epoch = record.points.firstTime();
    return kBlockRead;
}

std::int32_t satNumFromFileName(std::string_view fileName) noexcept {
    const auto separator = fileName.find_last_of("\\/");
    const std::string_view base = separator == std::string_view::npos ? fileName : fileName.substr(separator + 1);
    std::int32_t satNum = 0;
    return readInteger(base.substr(0, 5), satNum) == ReadOutcome::Success ? satNum : kUncataloguedSatNum;
}

}  // namespace vorlandi
