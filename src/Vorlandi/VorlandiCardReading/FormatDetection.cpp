#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

#include <algorithm>
#include <array>

#include "CoreServices/Texts.hpp"

namespace vorlandi {
namespace {

bool isLoneComment(std::string_view line) noexcept { return isblankornull(line.substr(1)); }

constexpr FormatRow kFormats[] = {
    {1, "V31", {{{{1, "EPHEMERIS FILE FOR SATELLITE"}}}}, ReadV31},
    {17, "UNIVERSAL", {{{{1, "KQ_UNIVERSAL_VORLANDI_V"}}}}, ReadKQUniversalVorlan},
    {9, "CCSDS_OEM", {{{{1, " CCSDS_OEM_VERS"}}}}},
    {2, "SIMOBS", {{{{57, "."}, {75, "     Z"}}}}, ReadSimObs},
    {3, "VECTOR", {{{{57, "."}, {75, "SP "}}}, {{{57, "."}, {75, "GP "}}}}, ReadVecEph},
    {4,
     "ITC",
     {{{{65, "."}, {29, " "}, {51, " "}, {113, "SP"}}}, {{{65, "."}, {29, " "}, {51, " "}, {113, "GP"}}}},
     ReadITC},
    {6, "ECR", {{{{1, "CLASSIFICATION: UNCLASSIFIED"}}}}, ReadECR},
    {7, "J2K", {{{{1, " SPEPH PREDICTION EPHEMERIS"}}}}, ReadJ2K},
    {kInputFileCard,
     "input-file card",
     {{{{1, "EPHFIL"}}},
      {{{1, "EXTERNAL_EPHEMERIS"}}},
      {{{1, "SATFIL"}}},
      {{{1, "EPHINP"}}},
      {{{1, "VORLAN"}}},
      {{{1, "EPHEMFILE"}}}}},
    {kTagCard, "tag card", {{{{1, "#VORLANDI"}}}}},
    {12, "STK", {{{{1, "STK.V"}}}}, ReadDotE},
    {10,
     "OWNER",
     {{{{12, "."}, {16, " "}}, isowneroperatorfile, "six numbers with decimal points behind it, blanks between them"}},
     ReadOwner,
     true},
    {13,
     "OASYS",
     {{{{13, "VERSION:"}}},
      {{{1, "*"}}, isLoneComment, "nothing else on the line"},
      {{{5, "/"}, {8, "/"}, {14, ":"}, {17, ":"}, {20, "."}}}},
     ReadOASYS},
    {15, "LCH", {{{{1, "CLASSIFICATION:                 UNCLASSIFIED"}}}}, ReadLCH},
    {16, "EELV", {{{{2, "."}, {25, "."}, {48, "."}, {71, "."}, {94, "."}, {117, "."}}}}, ReadEELV},
    {18,
     "DCE_TEXT",
     {{{}, issatnumonly, "one to nine digits from column 1 on, no other digit on the line"}},
     ReadDCEText},
    {19, "LAUNCH", {{{{1, "TIME(SEC): TIME"}}}}, ReadLaunchFormat},
};

bool standsAt(std::string_view line, const TextAt& wanted) noexcept {
    for (std::size_t k = 0; k < wanted.text.size(); ++k) {
        const std::size_t at = wanted.column - 1 + k;
        if ((at < line.size() ? touppercase(line[at]) : ' ') != wanted.text[k]) return false;
    }
    return true;
}

bool isEmpty(const LineTest& test) noexcept { return test.texts[0].column == 0 && test.further == nullptr; }

bool hasTexts(std::string_view line, const LineTest& test) noexcept {
    return std::all_of(std::begin(test.texts), std::end(test.texts),
                       [=](const TextAt& wanted) { return wanted.column == 0 || standsAt(line, wanted); });
}

enum class Verdict { Passed, Failed, Settled };

Verdict verdictOf(std::string_view line, const FormatRow& row) noexcept {
    for (const LineTest& test : row.alternatives) {
        if (isEmpty(test)) break;
        if (!hasTexts(line, test)) continue;
        if (test.further == nullptr || test.further(line)) return Verdict::Passed;
        if (row.decides) return Verdict::Settled;
    }
    return Verdict::Failed;
}

}  // namespace

std::span<const FormatRow> formatTable() noexcept { return kFormats; }

const FormatRow* recognise(std::string_view line) noexcept {
    for (const FormatRow& row : kFormats) {
        const Verdict verdict = verdictOf(line, row);
        if (verdict == Verdict::Passed) return &row;
        if (verdict == Verdict::Settled) return nullptr;
    }
    return nullptr;
}

std::int32_t vorlancardtype(std::string_view line) noexcept {
    const FormatRow* const row = recognise(line);
    return row != nullptr ? row->code : kUnknownFormat;
}

bool mayBeCard(std::string_view line) noexcept {
    if (line.empty()) return false;
    const char first = touppercase(line.front());
    return first == 'E' || first == 'S' || first == 'V' || first == '#';
}

bool isowneroperatorfile(std::string_view line) noexcept {
    constexpr int kNumbers = 6;
    constexpr std::size_t kTimeEnd = 16;  // column
    // Columns are 1-based; what lies behind the line is one run of blanks up to the full width.
    const auto blankAt = [=](std::size_t column) { return column > line.size() || line[column - 1] == ' '; };
    const auto runEnd = [&](std::size_t column) {
        while (column < kEphemerisColumns && blankAt(column + 1))
            ++column;
        return column;
    };
    std::size_t point = kTimeEnd;
    std::size_t blanksEnd = runEnd(kTimeEnd);
    for (int k = 0; k < kNumbers; ++k) {
        if (k > 0) {
            std::size_t next = blanksEnd + 1;
            while (next <= kEphemerisColumns && !blankAt(next))
                ++next;
            if (next > kEphemerisColumns) return false;
            blanksEnd = runEnd(next);
        }
        const auto found = line.find('.', point);
        if (found == std::string_view::npos) return false;
        point = found + 1;
        if (blanksEnd > point) return false;
    }
    return true;
}

bool issatnumonly(std::string_view line) noexcept {
    constexpr std::size_t kMostDigits = 9;
    const auto firstOther = std::find_if_not(line.begin(), line.end(), isDigit);
    const auto digits = static_cast<std::size_t>(firstOther - line.begin());
    return digits >= 1 && digits <= kMostDigits && std::none_of(firstOther, line.end(), isDigit);
}

bool fileisdotdce(std::string_view name) noexcept {
    const auto point = name.rfind('.');
    return point != std::string_view::npos && standsAt(name, {point + 1, ".DCE"});
}

}  // namespace vorlandi
