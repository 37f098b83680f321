// Shared by the readers' tests: a good file as lines, edits to it, and tables of edited files with the results.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi::testing {

using Lines = std::vector<std::string>;

inline const std::string kNoData =
    "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";

// Each text right-aligned in `width` columns.
inline std::string fields(std::size_t width, std::initializer_list<std::string_view> texts) {
    std::string line;
    for (const std::string_view text : texts)
        line.append(width - text.size(), ' ').append(text);
    return line;
}

// The text, padded to begin at a 1-based column.
inline std::string at(std::size_t column, const std::string& text) { return std::string(column - 1, ' ') + text; }

// The lines with a text written over one of them from a column on, or replacing it; lines and columns are 1-based.
inline Lines put(Lines lines, std::size_t line, std::size_t column, std::string_view text) {
    std::string& edited = lines.at(line - 1);
    edited.resize(std::max(edited.size(), column - 1 + text.size()), ' ');
    edited.replace(column - 1, text.size(), text);
    return lines;
}
inline Lines put(Lines lines, std::size_t line, std::string_view text) {
    lines.at(line - 1) = text;
    return lines;
}
inline Lines cut(const Lines& lines, std::ptrdiff_t count) { return {lines.begin(), lines.begin() + count}; }

inline Loaded loadLines(const Lines& lines, std::string_view fileName, ReadingRules rules = ReadingRules::fixed()) {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return load(text, fileName, rules);
}

using State = std::array<double, 7>;  // time, position, velocity

inline State stateOf(const Vorlanstate& point) {
    const auto& [time, pos, vel, rev, unused] = point;
    return {time, pos[0], pos[1], pos[2], vel[0], vel[1], vel[2]};
}

constexpr double kMarch1 = 27089.0;  // of 2024, 00:00

// The state that most of the good files hold.
constexpr State usual(double time, double x = 7000.0) { return {time, x, -1.5, 0.25, 1.0, 7.5, -0.5}; }

// The one record that is read from a file.
inline Vorlanrecord expectRecord(const Lines& lines, std::int32_t satNum, std::int32_t coordSys,
                                 const std::vector<State>& states, std::string_view fileName = "test.txt") {
    const Loaded loaded = loadLines(lines, fileName);
    EXPECT_EQ(loaded.errors, Lines{});
    EXPECT_EQ(loaded.records.size(), 1u);
    Vorlanrecord record = loaded.records.empty() ? Vorlanrecord{} : loaded.records.front();
    EXPECT_EQ(record.satNum, satNum);
    EXPECT_EQ(record.coordSys, coordSys);
    EXPECT_EQ(record.epoch, states.front()[0]);
    std::vector<State> read;
    read.reserve(static_cast<std::size_t>(record.numberOfPoints()));
    for (std::int32_t k = 0; k < record.numberOfPoints(); ++k)
        read.push_back(stateOf(record.points[k]));
    EXPECT_EQ(read, states);
    return record;
}

constexpr std::int32_t kAny = -1;

// A file, what is logged and what is stored. Of the messages, "@3" is the file's third line, "!@3" or "!text"
// the reader's report of bad data and that line or text, "*problem" the problem that ends the block.
struct Case {
    std::string what;
    Lines lines;
    Lines errors;
    std::int32_t points;  // of the record, 0 for none
    std::int32_t satNum = kAny, coordSys = kAny;
};

inline Lines messages(const std::string& reader, const Case& c) {
    Lines messages;
    for (std::string text : c.errors) {
        if (text[0] == '!') messages.push_back("*** " + reader + " : Bad ephemeris data. ***");
        if (text[0] == '!') text.erase(0, 1);
        if (text[0] == '@') text = trimmed(c.lines.at(std::stoul(text.substr(1)) - 1));
        messages.push_back(text.starts_with("*") && !text.starts_with("***")
                               ? "*** " + reader + ": " + text.substr(1) + " ***"
                               : text);
    }
    return messages;
}

inline void expectLoads(const std::string& reader, const std::vector<Case>& cases,
                        ReadingRules rules = ReadingRules::fixed()) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Loaded loaded = loadLines(c.lines, "test.txt", rules);
        EXPECT_EQ(loaded.errors, messages(reader, c));
        EXPECT_EQ(loaded.status, c.points == 0 ? 2 : 0);
        EXPECT_EQ(loaded.records.size(), c.points == 0 ? 0u : 1u);
        for (const Vorlanrecord& record : loaded.records) {
            EXPECT_EQ(record.numberOfPoints(), c.points);
            EXPECT_EQ(record.satNum, c.satNum == kAny ? record.satNum : c.satNum);
            EXPECT_EQ(record.coordSys, c.coordSys == kAny ? record.coordSys : c.coordSys);
        }
    }
}

const std::string kReadError = "*File read error.";

}  // namespace vorlandi::testing
