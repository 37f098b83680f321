#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

#include <algorithm>
#include <array>

#include "CoreServices/Texts.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"

namespace vorlandi {
namespace {

bool isLoneComment(std::string_view line) noexcept { return isblankornull(line.substr(1)); }

bool isOemVersion(std::string_view line) noexcept;

// Does it begin with exactly this many numbers?
bool hasNumbers(std::string_view line, int count) noexcept {
    FreeFormList list(line, Exponents::AlsoWithoutLetter);
    double number = 0.0;
    while (count > 0 && list.next(number) == ReadOutcome::Success)
        --count;
    return count == 0 && list.next(number) != ReadOutcome::Success;
}

bool isDate(std::string_view line) noexcept { return hasNumbers(line, 6); }
bool isDceTextPoint(std::string_view line) noexcept { return hasNumbers(line, 14); }

constexpr TextAt at(std::size_t column, std::string_view text) noexcept { return {column, text}; }

// clang-format off
constexpr FormatRow kFormats[] = {
    FormatRow(1, "V31", ReadV31).when(at(1, "EPHEMERIS FILE FOR SATELLITE")).distinct(),
    FormatRow(17, "UNIVERSAL", ReadKQUniversalVorlan).when(at(1, "KQ_UNIVERSAL_VORLANDI_V")).distinct(),
    FormatRow(9, "CCSDS_OEM").when(at(1, " CCSDS_OEM_VERS")).only(RowRules::Fixed),
    FormatRow(9, "OEM", nullptr, ReadOEM)
        .further(isOemVersion, "`CCSDS_OEM_VERS` with or without blanks before it")
        .only(RowRules::Practical).distinct(),
    FormatRow(2, "SIMOBS", ReadSimObs).when(at(57, "."), at(75, "     Z")).distinct(),
    FormatRow(3, "VECTOR", ReadVecEph).when(at(57, "."), at(75, "SP ")).when(at(57, "."), at(75, "GP ")).distinct(),
    FormatRow(4, "ITC", ReadITC)
        .when(at(65, "."), at(29, " "), at(51, " "), at(113, "SP"))
        .when(at(65, "."), at(29, " "), at(51, " "), at(113, "GP")).distinct(),
    FormatRow(6, "ECR", ReadECR).when(at(1, "CLASSIFICATION: UNCLASSIFIED")),
    FormatRow(7, "J2K", ReadJ2K).when(at(1, " SPEPH PREDICTION EPHEMERIS")).distinct(),
    FormatRow(kInputFileCard, "input-file card")
        .when(at(1, "EPHFIL"))
        .when(at(1, "EXTERNAL_EPHEMERIS"))
        .when(at(1, "SATFIL"))
        .when(at(1, "EPHINP"))
        .when(at(1, "VORLAN"))
        .when(at(1, "EPHEMFILE")),
    FormatRow(kTagCard, "tag card").when(at(1, "#VORLANDI")),
    FormatRow(12, "STK", ReadDotE, ReadSTK).when(at(1, "STK.V")).distinct(),
    FormatRow(10, "OWNER", ReadOwner)
        .when(at(12, "."), at(16, " "))
        .further(isowneroperatorfile, "six numbers with decimal points after it, blanks between them")
        .deciding().knownByShape(),
    FormatRow(13, "OASYS", ReadOASYS)
        .when(at(13, "VERSION:")).withHeader()
        .when(at(1, "*")).further(isLoneComment, "nothing else on the line")
        .when(at(5, "/"), at(8, "/"), at(14, ":"), at(17, ":"), at(20, "."))
        .knownByShape(),
    FormatRow(15, "LCH", ReadLCH).when(at(1, "CLASSIFICATION:                 UNCLASSIFIED")),
    FormatRow(16, "EELV", ReadEELV)
        .when(at(2, "."), at(25, "."), at(48, "."), at(71, "."), at(94, "."), at(117, "."))
        .knownByShape().amongOwn(isDate),
    FormatRow(18, "DCE_TEXT", ReadDCEText)
        .further(issatnumonly, "one to nine digits from column 1 on, no other digit on the line")
        .knownByShape().confirmed(isDceTextPoint),
    FormatRow(19, "LAUNCH", ReadLaunchFormat).when(at(1, "TIME(SEC): TIME")).distinct(),
    FormatRow(20, "MODIFIED_ITC", nullptr, ReadModifiedITC).when(at(1, "CREATED:")).only(RowRules::Practical),
};
// clang-format on

bool hasText(std::string_view line, const TextAt& wanted) noexcept {
    for (std::size_t k = 0; k < wanted.text.size(); ++k) {
        const std::size_t at = wanted.column - 1 + k;
        if ((at < line.size() ? touppercase(line[at]) : ' ') != wanted.text[k]) return false;
    }
    return true;
}

bool isOemVersion(std::string_view line) noexcept { return hasText(stripped(line), at(1, "CCSDS_OEM_VERS")); }

bool hasTexts(std::string_view line, const LineTest& test) noexcept {
    return std::all_of(test.texts.begin(), test.texts.end(),
                       [=](const TextAt& wanted) { return wanted.column == 0 || hasText(line, wanted); });
}

enum class Verdict { Passed, Failed, Settled };

// `passed` is set to the alternative that passed.
Verdict verdictOf(std::string_view line, const FormatRow& row, const LineTest** passed = nullptr) noexcept {
    for (const LineTest& test : row.alternatives) {
        if (test.empty()) break;
        if (!hasTexts(line, test)) continue;
        if (test.further == nullptr || test.further(line)) {
            if (passed != nullptr) *passed = &test;
            return Verdict::Passed;
        }
        if (row.decides) return Verdict::Settled;
    }
    return Verdict::Failed;
}

}  // namespace

std::span<const FormatRow> formatTable() noexcept { return kFormats; }

const FormatRow* recognise(std::string_view line, ReadingRules rules) noexcept {
    for (const FormatRow& row : kFormats) {
        if (!row.countsBy(rules)) continue;
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

bool mayBeginCard(std::string_view head) noexcept {
    const auto mayHave = [head](const LineTest& test) {
        const TextAt& wanted = test.texts[0];
        return wanted.column == 1 &&
               hasText(head, {1, wanted.text.substr(0, std::min(head.size(), wanted.text.size()))});
    };
    return std::any_of(std::begin(kFormats), std::end(kFormats), [&](const FormatRow& row) {
        const bool isCard = row.code == kInputFileCard || row.code == kTagCard;
        return isCard && std::any_of(row.alternatives.begin(), row.alternatives.end(), mayHave);
    });
}

BlockHeader headerOn(std::string_view line) noexcept {
    if (!mayBeHeader(line)) return {};
    const ReadingRules rules = ReadingRules::practical();
    const FormatRow* const row = recognise(line, rules);
    const LineTest* passed = nullptr;
    if (row == nullptr || row->practicalReader == nullptr || verdictOf(line, *row, &passed) != Verdict::Passed)
        return {};
    return row->byShape && !passed->isHeader ? BlockHeader{} : BlockHeader{row->name, row->isDistinct};
}

bool isCard(std::string_view line) noexcept {
    if (!mayBeCard(line)) return false;
    const std::int32_t code = vorlancardtype(line);
    return code == kInputFileCard || code == kTagCard;
}

bool mayBeCard(std::string_view line) noexcept {
    if (line.empty()) return false;
    const char first = touppercase(line.front());
    return first == 'E' || first == 'S' || first == 'V' || first == '#';
}

bool isowneroperatorfile(std::string_view line) noexcept {
    constexpr int kNumbers = 6;
    constexpr std::size_t kTimeEnd = 16;  // column
    // Columns are 1-based; what follows the line is one run of blanks up to the full width.
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
    const auto firstOther = std::find_if_not(line.begin(), line.end(), isDigit);
    const auto digits = static_cast<std::size_t>(firstOther - line.begin());
    return digits >= 1 && digits <= kMostDigitsOfSatNum && std::none_of(firstOther, line.end(), isDigit);
}

bool fileisdotdce(std::string_view name) noexcept {
    const auto point = name.rfind('.');
    return point != std::string_view::npos && hasText(name, {point + 1, ".DCE"});
}

std::string_view foreignFormat(std::string_view line) noexcept {
    const std::string_view text = leftAdjusted(line);
    if (hasText(text, at(1, "<?XML")) || hasText(text, at(1, "<OEM"))) return "OEM or another message in XML";
    const bool isVersion = text.size() > 2 && text[0] == '#' && text[1] >= 'a' && text[1] <= 'd';
    if (isVersion && (text[2] == 'P' || text[2] == 'V')) return "SP3";
    constexpr std::size_t kElementColumns = 69;
    const bool isElementLine = trimmed(line).size() == kElementColumns && hasText(line, at(1, "1 ")) &&
                               hasText(line, at(24, ".")) && hasText(line, at(35, "."));
    return isElementLine ? "element sets" : "";
}

}  // namespace vorlandi
