// What a reader is handed: the open unit behind the line that was recognised, that line, and the file's name;
// and what all readers do alike with their lines and points.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "CoreServices/InputUnits.hpp"
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"

namespace vorlandi {

constexpr std::size_t kEphemerisColumns = 512;  // width of a line in an ephemeris pass
constexpr std::size_t kCardColumns = 1500;      // and in a card pass

constexpr std::int32_t kBlockRead = 0;
constexpr std::int32_t kBlockFailed = 2;

// A line that begins with "*".
constexpr bool isComment(std::string_view line) noexcept { return line.starts_with('*'); }

constexpr bool isBlank(std::string_view line) noexcept {
    return line.find_first_not_of(' ') == std::string_view::npos;
}

constexpr double kSecondsPerDay = 86400.0;

class BlockInput {
public:
    BlockInput(InputUnit& unit, std::string_view headerLine, std::string_view fileName)
        : unit_(unit), headerLine_(headerLine), fileName_(fileName) {}

    std::string_view headerLine() const noexcept { return headerLine_; }
    std::string_view fileName() const noexcept { return fileName_; }

    // The next line, which stays valid until the next one is read.
    ReadOutcome readLine(std::string_view& line) { return unit_.readLine(kEphemerisColumns, line); }

    void rewind() { unit_.rewind(); }

    // Appends a point of revolution number 0; one that is not later than the last is dropped.
    void append(const Vorlanpoint& point, Vorlanrecord& record, const double* covariance = nullptr) const {
        addoneeppoint(point, record, covariance);
    }

    // Reports data that could not be used, in two messages: "*** reader : Bad ephemeris data. ***" and the
    // text.
    void skipbadephempoint(std::string_view reader, std::string_view text) const;

private:
    InputUnit& unit_;
    std::string headerLine_;
    std::string_view fileName_;
};

// Ends a block that can't be read further, with the message "*** reader: problem ***".
std::int32_t blockFailed(std::string_view reader, std::string_view problem);

// The usual problem.
constexpr std::string_view kFileReadError = "File read error.";

// Ends a block that has been read: its epoch is the time of its first point.
std::int32_t blockRead(Vorlanrecord& record) noexcept;

// The satellite number in the first five characters of a file's base name, 99999 if they are no integer.
std::int32_t satNumFromFileName(std::string_view fileName) noexcept;
constexpr std::int32_t kUncataloguedSatNum = 99999;

}  // namespace vorlandi
