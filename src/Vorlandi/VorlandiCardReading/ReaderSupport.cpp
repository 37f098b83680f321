#include "Vorlandi/VorlandiCardReading/ReaderSupport.hpp"

#include <algorithm>

#include "CoreServices/Status.hpp"
#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"

namespace vorlandi {

ReadOutcome LineGroup::read(BlockInput& input) {
    std::int64_t firstNumber = 0;
    for (std::size_t k = 0; k < size_; ++k) {
        if (const ReadOutcome outcome = input.readPointLine(last_); outcome != ReadOutcome::Success) {
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
    return kFailure;
}

struct FrameType {
    std::string_view type;  // of a long file name
    std::int32_t coordSys;
};
constexpr FrameType kFrameTypes[] = {{"MEME", kJ2k}, {"TEME", kEci}, {"EFG", kEfg}, {"ITRF", kEcr}, {"ECR", kEcr}};

std::string_view baseName(std::string_view fileName) noexcept {
    return fileName.substr(fileName.find_last_of("\\/") + 1);
}

}  // namespace

MessageText reasonAt(const ReadPlace& place, std::string_view reader, std::string_view reason) noexcept {
    return MessageText(reader) << ": " << place.fileName << ":" << place.number << ": " << reason;
}

void reportBadLine(const ReadPlace& place, std::string_view reader, std::string_view reason) {
    observeRead(VORLAN_READ_BAD, place);
    tracelogerror(MessageText("*** ") << reader << " : Bad ephemeris data. ***");
    tracelogerror(reasonAt(place, reader, reason));
    tracelogerror(place.line);
}

std::int32_t blockFailed(const ReadPlace& place, std::string_view reader, std::string_view problem) {
    observeRead(VORLAN_READ_BAD, place);
    return logProblem(reader, problem);
}

std::int32_t blockFailedWithLine(const BlockInput& input, std::string_view reader, std::string_view problem) {
    observeRead(VORLAN_READ_BAD, input.place());
    tracelogerror(input.place().line);
    return logProblem(reader, problem);
}

std::int32_t blockRefused(const BlockInput& input, std::string_view reader, std::string_view problem,
                          std::string_view reason) {
    observeRead(VORLAN_READ_BAD, input.place());
    tracelogerror(reasonAt(input.place(), reader, reason));
    tracelogerror(input.place().line);
    return logProblem(reader, problem);
}

std::int32_t blockRead(Vorlanrecord& record) noexcept {
    if (record.numberOfPoints() > 0) record.epoch = record.points.firstTime();
    return kSuccess;
}

std::int32_t numberOfDigits(std::string_view text) noexcept {
    std::int32_t number = 0;
    const bool isNumber =
        !text.empty() && text.size() <= kMostDigitsOfSatNum && std::all_of(text.begin(), text.end(), isDigit);
    return isNumber && readInteger(text, number) == ReadOutcome::Success ? number : -1;
}

std::optional<LongFileName> longFileName(std::string_view fileName) noexcept {
    const std::string_view base = baseName(fileName);
    const auto typeEnd = std::min(base.find('_'), base.size());
    const std::string_view type = base.substr(0, typeEnd);
    const auto* const row = std::ranges::find(kFrameTypes, type, &FrameType::type);
    if (row == std::end(kFrameTypes)) return std::nullopt;
    const std::string_view rest = base.substr(std::min(typeEnd + 1, base.size()));
    const std::string_view number = rest.substr(0, rest.find('_'));
    const std::int32_t satNum = numberOfDigits(number);
    if (number.size() == rest.size() || satNum < 0) return std::nullopt;
    return LongFileName{row->coordSys, satNum};
}

std::int32_t satNumFromFileName(std::string_view fileName, ReadingRules rules) noexcept {
    const std::string_view base = baseName(fileName);
    std::int32_t satNum = 0;
    if (!rules.has(Rule::NumberFromLongName)) {
        return readInteger(base.substr(0, 5), satNum) == ReadOutcome::Success ? satNum : kUncataloguedSatNum;
    }
    if (const auto name = longFileName(fileName)) return name->satNum;
    const auto digits = std::min(base.find_first_not_of("0123456789"), base.size());
    satNum = numberOfDigits(base.substr(0, digits));
    return satNum >= 0 ? satNum : kUncataloguedSatNum;
}

}  // namespace vorlandi
