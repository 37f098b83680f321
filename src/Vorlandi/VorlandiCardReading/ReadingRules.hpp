// The rules by which a file is read. The fixed rules never change. The practical rules differ from them in the rows of
// kPracticalRules and in the readers that the table of formats names for them.
#pragma once

#include <string_view>

#include "CoreServices/NumberFields.hpp"

namespace vorlandi {

enum class Rule {
    UnrecognisedFileFails,
    BlockIsRecord,
    HeaderEndsBlock,
    FailedBlockIsRefused,
    LinesAfterBlockAreReported,
    SeamBeginsRecord,
    DroppedPointsAreCounted,
    ValuesAreFinite,
    TimesAreFinite,
    TimesAreStorable,
    LeapSecondsAreDropped,
    LinesAreWhole,
    DatesExist,
    ExponentWithoutLetter,
    FramesAreCartesian,
    MissingFileFails,
    NamesBesideCard,
    NumberFromLongName,
};

// A practical rule in words, as docs/formats.md shows it.
struct RuleRow {
    Rule rule;
    std::string_view subject;
    std::string_view fixed;
    std::string_view practical;
};

constexpr RuleRow kPracticalRules[] = {
    {Rule::UnrecognisedFileFails, "no format recognised in a file", "status 0, no message",
     "message, status 2; OEM in XML, SP3 and element sets are named"},
    {Rule::BlockIsRecord, "second block in a file", "continues the record of the first", "begins a record of its own"},
    {Rule::HeaderEndsBlock, "header of a block after the lines of another",
     "bad data, or skipped; OWNER and OASYS read the file from its first line",
     "ends the block before it; OWNER and OASYS are read from where they begin"},
    {Rule::FailedBlockIsRefused, "block that fails", "ends the load of its file",
     "is refused; reading continues at the header of the next block; status 2"},
    {Rule::LinesAfterBlockAreReported, "lines after the end of a block that begin no other", "skipped, no message",
     "skipped; the first of them is reported as a bad line"},
    {Rule::SeamBeginsRecord, "point at the time of the last one, with another state", "dropped",
     "begins the next record of the satellite if the record has at least four points and the next point is later; "
     "else dropped"},
    {Rule::DroppedPointsAreCounted, "dropped points", "an event for each",
     "an event for each, and a message with their number and the first line"},
    {Rule::ValuesAreFinite, "position or velocity that is not finite (binary files)", "stored", "bad record"},
    {Rule::TimesAreFinite, "time that is not finite (binary files)", "NaN dropped, infinity stored", "bad record"},
    {Rule::TimesAreStorable, "time outside 1950 to 2199", "stored", "bad line"},
    {Rule::LeapSecondsAreDropped, "point inside a leap second (STK, OEM)", "days have no leap seconds",
     "dropped: days cannot tell it from the second after it; a message with their number and the first line"},
    {Rule::LinesAreWhole, "line of more than 512 columns", "cut there",
     "read to its end; beyond 65,000 columns a bad line"},
    {Rule::DatesExist, "date that does not exist (LCH, OASYS, EELV)", "read as some other time",
     "bad line; in an EELV header, the block is refused"},
    {Rule::ExponentWithoutLetter, "exponent without a letter (1.5-101)", "bad number", "read"},
    {Rule::FramesAreCartesian, "frame LLH or SEN (VECTOR, SIMOBS)", "stored with code 15 or 16",
     "the block is refused"},
    {Rule::MissingFileFails, "card that names a file that cannot be read", "event only, status 0",
     "event and message; the rest is loaded; status 2"},
    {Rule::NamesBesideCard, "relative name on a card", "relative to the working directory",
     "relative to the card file's directory; if there is no such file, to the working directory"},
    {Rule::NumberFromLongName, "satellite number from a file name", "its first five characters, else 99999",
     "the second field of TYPE_NUMBER_NAME_..., with TYPE being MEME, TEME, EFG, ITRF or ECR; else the one to nine "
     "digits at the beginning of the name; else 99999"},
};

class ReadingRules {
public:
    static constexpr ReadingRules fixed() noexcept { return ReadingRules(false); }
    static constexpr ReadingRules practical() noexcept { return ReadingRules(true); }

    constexpr bool arePractical() const noexcept { return practical_; }

    // Is this practical rule in force?
    constexpr bool has(Rule) const noexcept { return practical_; }

    constexpr Exponents exponents() const noexcept {
        return has(Rule::ExponentWithoutLetter) ? Exponents::AlsoWithoutLetter : Exponents::WithLetter;
    }

private:
    explicit constexpr ReadingRules(bool practical) noexcept : practical_(practical) {}

    bool practical_;
};

// Begins the messages of a load by the practical rules.
constexpr std::string_view kPracticalLoader = "VorlanLoadFileExt";

}  // namespace vorlandi
