// Reads the STK text format by the practical rules: settings, then sections of states, covariances and segment
// boundaries in any order, up to the end of the block.
#include <optional>
#include <string>

#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "TimeLibrary/ElapsedTime.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/StkCovariances.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/StkKeywords.hpp"

namespace vorlandi {
namespace {

using namespace stk;

constexpr bool isLetter(char c) noexcept { return touppercase(c) >= 'A' && touppercase(c) <= 'Z'; }

// Takes the first word of a text, and the blanks after it.
std::string_view takeWord(std::string_view& text) noexcept {
    const auto size = std::min(text.find_first_of(kBlanks), text.size());
    const std::string_view word = text.substr(0, size);
    text = stripped(text.substr(size));
    return word;
}

// The value of a setting, without quotation marks.
std::string_view unquoted(std::string_view text) noexcept {
    if (text.empty() || (text[0] != '"' && text[0] != '\'')) return text;
    return stripped(text.substr(1, text.find(text[0], 1) - 1));
}

// A line without the blanks before it; empty for a comment.
std::string_view contentOf(std::string_view line) noexcept {
    const auto first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos || line[first] == '#' || isComment(line)) return {};
    return line.substr(first);
}

std::string_view firstWord(std::string_view text) noexcept { return takeWord(text); }

bool contains(std::string_view text, std::string_view word) noexcept {
    for (std::size_t at = 0; at + word.size() <= text.size(); ++at) {
        if (isWord(text.substr(at, word.size()), word)) return true;
    }
    return false;
}

// The date in a text, from its first digit or sign on; the name of the scale may follow.
std::string_view dateIn(std::string_view text) noexcept {
    text = text.substr(std::min(text.find_first_of("+-0123456789"), text.size()));
    text = stripped(text.substr(0, text.find('#')));
    const auto blank = text.find_last_of(kBlanks);
    if (blank != std::string_view::npos) {
        const std::string_view last = text.substr(blank + 1);
        if (isWord(last, "UTC") || isWord(last, "UTCG")) text = stripped(text.substr(0, blank));
    }
    return text;
}

// Reads the lines of a section of states. Each reading thread has its own.
struct StateReader {
    ElapsedTime time;
    double km;
    std::size_t numbers;
    std::string_view section;

    void read(std::string_view text, BlockInput& input, Vorlanrecord& record);
    void readLines(BlockInput& input, Vorlanrecord& record);
};

class StkBlock {
public:
    StkBlock(BlockInput& input, Vorlanrecord& record) : input_(input), record_(record), covariances_(input, record) {
        input.records().expectBoundaries();
    }

    std::int32_t read();

private:
    enum class Section { None, States, Covariances, Boundaries, Unread };
    struct OpenSection {
        Section section;
        std::string name;
        bool isBegun;  // by BEGIN
    };
    struct Boundary {
        double seconds;
        std::int64_t line;
    };

    void readKeyword(std::string_view text);
    void readNumbers(std::string_view text);
    void beginStates();
    void readBoundaries(std::string_view text);
    void set(const Named<Setting>& setting, std::string_view value);
    void setEpoch(std::string_view value);
    void open(Section section, std::string_view name, bool begins);
    void openStates(std::size_t numbers);
    void openUnread(std::string_view name, bool begins);
    void end(std::string_view name);
    void endBlock();
    void refuse(std::string_view problem, std::string_view reason) {
        status_ = blockRefused(input_, kName, problem, reason);
    }
    void skip(std::string_view reason) { input_.skipBadLine(kName, reason); }

    // The states' system once there are states.
    const stk::StateSystem* states() {
        if (record_.numberOfPoints() == 0) return nullptr;
        return &system_.emplace(stk::StateSystem{*time_, km_, record_.coordSys});
    }

    template <class Value, std::size_t N, class Use>
    void setByName(const Named<Value> (&table)[N], const Named<Setting>& setting, std::string_view value,
                   std::string_view problem, Use use);

    BlockInput& input_;
    Vorlanrecord& record_;
    std::optional<std::int32_t> status_;  // once the block has ended

    std::optional<ElapsedTime> time_;
    double km_ = kKmPerMeter;
    std::optional<stk::StateSystem> system_;

    Section section_ = Section::None;  // of the last one that is open
    std::vector<OpenSection> open_;    // a section that BEGIN opens is inside the one before
    std::size_t numbers_ = 0;
    std::optional<StateReader> states_;  // as the last keyword has left it
    stk::Covariances covariances_;
    std::vector<Boundary> boundaries_;
};

// ---- Settings ----

template <class Value, std::size_t N, class Use>
void StkBlock::setByName(const Named<Value> (&table)[N], const Named<Setting>& setting, std::string_view value,
                         std::string_view problem, Use use) {
    const auto* const row = find(table, firstWord(value));
    if (row == nullptr) return refuse(problem, notRead(setting.name, value, table) << ".");
    use(row->value);
}

void StkBlock::setEpoch(std::string_view value) {
    if (time_) return;  // the first ScenarioEpoch counts
    const std::string_view date = dateIn(value);
    const double epoch = dtg2ds50utc(date);
    if (epoch == 0.0) {
        return refuse("Unable to read reference epoch time.",
                      MessageText("ScenarioEpoch ") << value << " is not a date, such as 31 Jan 2026 00:00:00.000.");
    }
    time_.emplace(epoch, isSecond60(date));
}

void StkBlock::set(const Named<Setting>& setting, std::string_view value) {
    switch (setting.value) {
        case Setting::NotNeeded:
            return;
        case Setting::CovarianceTriangle:
            return covariances_.setTriangle(firstWord(value));
        case Setting::CovarianceFrame:
            return covariances_.setFrame(firstWord(value));
        default:
            break;
    }
    constexpr std::string_view kInvalidFrame = "Invalid coordinate system.", kInvalidUnit = "Invalid distance unit.";
    // It can't change how the states before it were read.
    const auto change = [&](auto& setTo, auto wanted, std::string_view problem) {
        if (record_.numberOfPoints() > 0 && setTo != wanted)
            return refuse(problem, MessageText(setting.name) << " " << value << " has to be before the states.");
        setTo = wanted;
    };
    switch (setting.value) {
        case Setting::Epoch:
            if (record_.numberOfPoints() > 0) return skip("ScenarioEpoch has to be before the states.");
            return setEpoch(value);
        case Setting::CentralBody:
            return setByName(kCentralBodies, setting, value, "Invalid central body.", [](bool) {});
        case Setting::Frame:
            return setByName(kFrames, setting, value, kInvalidFrame,
                             [&](std::int32_t code) { change(record_.coordSys, code, kInvalidFrame); });
        default:
            return setByName(kUnits, setting, value, kInvalidUnit, [&](double km) { change(km_, km, kInvalidUnit); });
    }
}

// ---- Sections ----

void StkBlock::open(Section section, std::string_view name, bool begins) {
    // An END searches the sections that are open.
    constexpr std::size_t kDeepest = 64;
    if (begins && open_.size() == kDeepest) return refuse("Invalid sections.", "sections are nested 64 deep.");
    covariances_.close();
    if (!begins && !open_.empty()) open_.pop_back();
    open_.push_back({section, std::string(name), begins});
    section_ = section;
}

void StkBlock::openStates(std::size_t numbers) {
    if (!time_) return refuse("Unable to read reference epoch time.", "there is no ScenarioEpoch before the states.");
    numbers_ = numbers;
}

void StkBlock::openUnread(std::string_view name, bool begins) {
    tracelogerror(reasonAt(input_.place(), kName,
                           notRead("section", name, kStateSections)
                               << ", and CovarianceTimePos, CovarianceTimePosVel and " << kBoundarySection << "."));
    open(Section::Unread, name, begins);
}

void StkBlock::end(std::string_view name) {
    const auto isMeant = [=](const OpenSection& section) { return name.empty() || isWord(name, section.name); };
    if (const auto ended = std::find_if(open_.rbegin(), open_.rend(), isMeant); ended != open_.rend()) {
        covariances_.close();
        open_.erase(std::prev(ended.base()), open_.end());
        section_ = open_.empty() ? Section::None : open_.back().section;
    } else if (name.empty() || isWord(name, kBlockSection)) {
        endBlock();
    }
    // Any other section has been left before.
}

void StkBlock::endBlock() {
    const ReadPlace last = input_.place();
    covariances_.close();
    if (const stk::StateSystem* const system = states(); system != nullptr) {
        for (const Boundary& boundary : boundaries_)
            input_.records().addBoundary(time_->utcAt(boundary.seconds), {input_.fileName(), boundary.line, {}});
        covariances_.finish(*system);
    }
    input_.blame(last.line, last.number);
    status_ = blockRead(record_);
}

void StkBlock::readKeyword(std::string_view text) {
    const std::string_view line = text;
    std::string_view word = takeWord(text);
    if (isWord(word, "END")) return end(firstWord(unquoted(text)));
    const bool begins = isWord(word, "BEGIN");
    if (begins) word = takeWord(text);
    if (section_ == Section::Unread && open_.back().isBegun) return;
    if (isWord(word, kBlockSection)) return;

    if (const auto* const states = find(kStateSections, word)) {
        open(Section::States, states->name, begins);
        return openStates(states->value);
    }
    if (const auto* const rows = find(kCovarianceSections, word)) {
        open(Section::Covariances, rows->name, begins);
        if (!covariances_.open(rows->value, states())) section_ = open_.back().section = Section::Unread;
        return;
    }
    if (isWord(word, kBoundarySection)) {
        open(Section::Boundaries, kBoundarySection, begins);
        return readBoundaries(text);
    }
    if (const auto* const setting = find(kSettings, word)) return set(*setting, unquoted(text));
    // Data sections are named for the time that begins their lines.
    const bool isSection = contains(word, "Time");
    if (isSection && isWord(word.substr(0, kBlockSection.size()), kBlockSection)) {
        return refuse("Invalid ephemeris type.", notRead("", word, kStateSections) << ".");
    }
    if (begins || (isSection && text.empty())) return openUnread(word, begins);
    // An unknown setting is skipped, but where numbers are expected it is not a setting.
    if (section_ != Section::None && section_ != Section::Unread) readNumbers(line);
}

// ---- Numbers ----

void StateReader::read(std::string_view text, BlockInput& input, Vorlanrecord& record) {
    std::array<double, kMostNumbers> values;
    std::fill(values.begin() + 4, values.begin() + 7, 0.0);
    FreeFormList list = input.list(text);
    if (list.next(std::span(values).first(numbers)) != ReadOutcome::Success || list.leftOut()) [[unlikely]] {
        return input.skipBadLine(kName, MessageText("a line of ")
                                            << section << " has " << static_cast<std::int64_t>(numbers) << " numbers.");
    }
    Vorlanstate point;
    if (time.isInLeapSecond(values[0])) return input.dropInLeapSecond();
    point.time = time.utcAt(values[0]);
    std::copy_n(values.begin() + 1, 3, point.pos);
    std::copy_n(values.begin() + 4, 3, point.vel);
    scaleState(point, km);
    input.append(point, record);
}

// Up to a keyword, which it leaves.
void StateReader::readLines(BlockInput& input, Vorlanrecord& record) {
    std::string_view line;
    while (input.readLine(line) == ReadOutcome::Success) {
        const std::string_view text = contentOf(line);
        if (text.empty()) continue;
        if (isLetter(text[0])) return input.unreadLine();
        read(text, input, record);
    }
}

// The keyword before them may have been any.
void StkBlock::beginStates() {
    states_.emplace(StateReader{*time_, km_, numbers_, open_.back().name});
    input_.readInChunks(record_, {}, [this](BlockInput& part, Vorlanrecord& points) {
        StateReader reader = *states_;
        reader.readLines(part, points);
    });
}

void StkBlock::readBoundaries(std::string_view text) {
    FreeFormList list = input_.list(text);
    for (double seconds = 0.0;;) {
        const ReadOutcome outcome = list.next(seconds);
        if (outcome == ReadOutcome::EndOfData) return;
        if (outcome == ReadOutcome::Error || list.endedBySlash())
            return skip("a segment boundary is a number of seconds.");
        boundaries_.push_back({seconds, input_.place().number});
    }
}

void StkBlock::readNumbers(std::string_view text) {
    switch (section_) {
        case Section::States:
            return states_->read(text, input_, record_);
        case Section::Covariances:
            return covariances_.readLine(text, states());
        case Section::Boundaries:
            return readBoundaries(text);
        case Section::Unread:
            return;  // reported where it was opened
        case Section::None:
            break;
    }
    double number = 0.0;
    if (input_.readFreeForm(text, {&number, 1}) == ReadOutcome::Success) skip("the line is in no section.");
}

std::int32_t StkBlock::read() {
    std::string_view line;
    while (!status_) {
        const ReadOutcome outcome = input_.readLine(line);
        if (outcome == ReadOutcome::Error) return blockFailed(input_, kName, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) {
            endBlock();
            break;
        }
        if (input_.isLineLeftOut()) covariances_.close();  // its numbers may have been of this one
        const std::string_view text = contentOf(line);
        if (text.empty()) continue;
        if (isLetter(text[0])) {
            readKeyword(stripped(text));
            if (!status_ && section_ == Section::States) beginStates();
        } else if (section_ == Section::States) {
            states_->read(text, input_, record_);
        } else {
            readNumbers(text);
        }
    }
    return *status_;
}

}  // namespace

std::int32_t ReadSTK(BlockInput& input, Vorlanrecord& record) {
    record.coordSys = kJ2k;
    record.satNum = satNumFromFileName(input.fileName(), input.rules());
    return StkBlock(input, record).read();
}

}  // namespace vorlandi
