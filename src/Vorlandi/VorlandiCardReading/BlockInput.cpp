#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"

#include "CoreServices/TraceLog.hpp"

namespace vorlandi {

void BlockInput::skipbadephempoint(std::string_view reader, std::string_view text) const {
    tracelogerror("*** " + std::string(reader) + " : Bad ephemeris data. ***");
    tracelogerror(text);
}

std::int32_t blockFailed(std::string_view reader, std::string_view problem) {
    tracelogerror("*** " + std::string(reader) + ": " + std::string(problem) + " ***");
    return kBlockFailed;
}

std::int32_t blockRead(Vorlanrecord& record) noexcept {
    if (record.numberOfPoints() > 0) record.epoch = record.points.front().time;
    return kBlockRead;
}

std::int32_t satNumFromFileName(std::string_view fileName) noexcept {
    const auto separator = fileName.find_last_of("\\/");
    const std::string_view base =
        separator == std::string_view::npos ? fileName : fileName.substr(separator + 1);
    std::int32_t satNum = 0;
    return readInteger(base.substr(0, 5), satNum) == ReadOutcome::Success ? satNum : kUncataloguedSatNum;
}

}  // namespace vorlandi
