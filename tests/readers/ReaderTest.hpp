// What the readers' tests share: a good file as lines, edits to it, and tables of edited files with what they
// give.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi::testing {

using Lines = std::vector<std::string>;

inline const std::string kNoDataMessage =
    "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";

inline std::string bad(std::string_view reader) {
    return "*** " + std::string(reader) + " : Bad ephemeris data. ***";
}

// Each text right-aligned in `width` columns.
inline std::string fields(std::size_t width, std::initializer_list<std::string_view> texts) {
    std::string line;
    for (const std::string_view text : texts)
        line.append(width - text.size(), ' ').append(text);
    return line;
}

// The text so that it begins at a 1-based column.
inline std::string at(std::size_t column, std::string_view text) {
    return std::string(column - 1, ' ').append(text);
}

// The lines with a text written over one of them, lines and columns 1-based.
inline Lines put(Lines lines, std::size_t line, std::size_t column, std::string_view text) {
    std::string& edited = lines.at(line - 1);
    edited.resize(std::max(edited.size(), column - 1 + text.size()), ' ');
    edited.replace(column - 1, text.size(), text);
    return lines;
}

inline Lines replaced(Lines lines, std::size_t line, std::string_view text) {
    lines.at(line - 1) = text;
    return lines;
}

inline Lines cut(Lines lines, std::size_t count) {
    lines.resize(count);
    return lines;
}

inline Lines joined(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

inline Loaded loadLines(const Lines& lines, std::string_view fileName = "test.txt") {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return load(text, fileName);
}

// The one record that a file gives.
inline Vorlanrecord recordOf(const Lines& lines, std::string_view fileName = "test.txt") {
    const Loaded loaded = loadLines(lines, fileName);
    EXPECT_EQ(loaded.errors, Lines{});
    EXPECT_EQ(loaded.records.size(), 1u);
    return loaded.records.empty() ? Vorlanrecord{} : loaded.records.front();
}

// What a reader makes of a block by itself, even without a point: the lines begin with the header.
inline Vorlanrecord readAlone(Reader reader, const Lines& lines) {
    std::string text;
    for (std::size_t k = 1; k < lines.size(); ++k)
        text += lines[k] + '\n';
    InputUnit unit(memorySource(text));
    BlockInput input(unit, lines.front(), "test.txt");
    Vorlanrecord record;
    EXPECT_EQ(reader(input, record), kBlockRead);
    return record;
}

struct Case {
    const char* what;
    Lines lines;
    Lines errors;
    std::int32_t points;  // of the record stored, 0 for none
    std::int32_t status = 0;
};

inline void expectLoads(std::initializer_list<Case> cases, std::string_view fileName = "test.txt") {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Loaded loaded = loadLines(c.lines, fileName);
        EXPECT_EQ(loaded.errors, c.errors);
        EXPECT_EQ(loaded.status, c.status);
        EXPECT_EQ(loaded.records.empty() ? 0 : loaded.records.front().numberOfPoints(), c.points);
    }
}

// 2024 March 1, 00:00.
constexpr double kMarch1 = 27089.0;

inline void expectPoint(const Vorlanpoint& point, double time, std::initializer_list<double> state) {
    EXPECT_EQ(point.time, time);
    std::vector<double> read(std::begin(point.pos), std::end(point.pos));
    read.insert(read.end(), std::begin(point.vel), std::end(point.vel));
    EXPECT_EQ(read, std::vector<double>(state));
    EXPECT_EQ(point.rev, 0);
}

}  // namespace vorlandi::testing
