// Reads the modified ITC format: four lines of header, then for each point a line with its state, and three with its
// covariance or none. The frame comes from the file's name.
#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"
#include "Vorlandi/VorlandiProcessing/CovarianceAxes.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadModifiedITC";

constexpr int kHeaderLines = 3;  // after the recognised one; the last of them names the axes
constexpr std::string_view kUvw = "UVW";

constexpr std::size_t kTimeDigits = 13;  // YYYYDDDHHMMSS

// The lower triangle, row by row, seven numbers per line
constexpr std::size_t kNumbersPerLine = 7;

std::int32_t frameOf(std::string_view fileName) noexcept {
    const auto name = longFileName(fileName);
    return name ? name->coordSys : kJ2k;
}

constexpr bool isRotating(std::int32_t coordSys) noexcept { return coordSys == kEfg || coordSys == kEcr; }

constexpr bool isBlankOrTab(char c) noexcept { return c == ' ' || c == '\t'; }

std::string_view withoutBlanksBefore(std::string_view line) noexcept {
    while (!line.empty() && isBlankOrTab(line.front()))
        line.remove_prefix(1);
    return line;
}

// The time of a state line that begins with it: 13 digits, a point, digits. Empty if the line is not a state line.
std::string_view timeField(std::string_view line) noexcept {
    if (line.size() <= kTimeDigits + 1 || line[kTimeDigits] != '.') return {};
    std::size_t end = 0;
    while (end < line.size() && (isDigit(line[end]) || end == kTimeDigits))
        ++end;
    const bool isTime = end > kTimeDigits + 1 && (end == line.size() || isBlankOrTab(line[end]));
    return isTime ? line.substr(0, end) : std::string_view{};
}

class PointReader {
public:
    PointReader(BlockInput& input, Vorlanrecord& record) noexcept : input_(input), record_(record) {}

    std::int32_t run() {
        ReadOutcome outcome = ReadOutcome::Success;
        while (headerLines_ < kHeaderLines && outcome == ReadOutcome::Success)
            outcome = readLine();
        // Axes that are not read are reported once.
        if (outcome == ReadOutcome::Success && after_ == After::CompletePoint && std::string_view(axes_) == kUvw)
            readInChunks();
        while (outcome == ReadOutcome::Success)
            outcome = readLine();
        if (outcome == ReadOutcome::Error) return blockFailed(input_, kName, kFileReadError);
        finishPoint();
        return blockRead(record_);
    }

private:
    // EndOfData also at the beginning of another block.
    ReadOutcome readLine() {
        std::string_view line;
        const ReadOutcome outcome = input_.readPointLine(line);
        if (outcome != ReadOutcome::Success) return outcome;
        take(withoutBlanksBefore(line));
        return outcome;
    }

    void readInChunks() {
        const LineGrouping points{1,
                                  [](std::string_view line) { return !timeField(withoutBlanksBefore(line)).empty(); }};
        input_.readInChunks(record_, points, [](BlockInput& part, Vorlanrecord& record) {
            PointReader reader(part, record);
            reader.endHeader(kUvw);
            while (reader.readLine() == ReadOutcome::Success) {
            }
            reader.finishPoint();
        });
    }

    // What the next line follows.
    enum class After {
        CompletePoint,  // or the header
        State,          // whose covariance, if there is one, has begun or not
        LeftOutPoint    // whose covariance lines are skipped
    };

    void take(std::string_view line) {
        if (const std::string_view time = timeField(line); !time.empty()) {
            const ReadPlace place = input_.place();
            finishPoint();
            input_.blame(place.line, place.number);
            takeState(line, time);
        } else if (headerLines_ < kHeaderLines) {
            takeHeader(line);
        } else if (!line.empty()) {
            takeCovariance(line);
        }
    }

    void takeHeader(std::string_view line) {
        if (++headerLines_ == kHeaderLines) endHeader(stripped(line));
    }

    void endHeader(std::string_view axes) {
        headerLines_ = kHeaderLines;
        axes_ = axes;
        axesLine_ = input_.place().number;
    }

    void takeState(std::string_view line, std::string_view time) {
        if (headerLines_ < kHeaderLines) endHeader({});
        covarianceLines_ = 0;
        after_ = After::LeftOutPoint;
        point_.time = date_in(time);
        if (!(point_.time > 0.0)) return input_.skipBadLine(kName, kNoSuchDate);
        FreeFormList state = input_.list(line.substr(time.size()));
        if (readState(state, point_) != ReadOutcome::Success || state.leftOut())
            return input_.skipBadLine(kName, "a state line has a time and six numbers");
        after_ = After::State;
        stateLine_ = line;
        stateNumber_ = input_.place().number;
    }

    void takeCovariance(std::string_view line) {
        if (after_ == After::LeftOutPoint || !axesAreRead()) return;
        if (after_ == After::CompletePoint) {
            after_ = After::LeftOutPoint;
            return input_.skipBadLine(kName, "there is no point for these numbers");
        }
        const auto values = std::span(covariance_.cov).subspan(covarianceLines_ * kNumbersPerLine, kNumbersPerLine);
        FreeFormList list = input_.list(line);
        if (list.next(values) != ReadOutcome::Success || list.leftOut()) {
            after_ = After::LeftOutPoint;
            return input_.skipBadLine(kName, "a covariance line has seven numbers; the point is left out");
        }
        if (++covarianceLines_ * kNumbersPerLine < kCovarianceSize) return;
        after_ = After::CompletePoint;
        blameState();
        input_.append(point_, record_, turnedCovariance());
    }

    // A point that has no covariance, or not all of it, is complete when another one or the end of the file follows.
    void finishPoint() {
        if (after_ != After::State) return;
        after_ = After::CompletePoint;
        blameState();
        if (covarianceLines_ == 0) return input_.append(point_, record_);
        input_.skipBadLine(kName, "the covariance of this point has fewer than three lines; the point is left out");
    }

    // In the frame of the states; null if the point is stored without one.
    const PointCovariance* turnedCovariance() {
        if (!hasCovariance(covariance_)) return nullptr;
        if (turnToFrame(point_, isRotating(record_.coordSys), CovarianceAxes::Uvw, covariance_)) return &covariance_;
        input_.skipBadLine(kName,
                           "position and velocity are parallel, which defines no axes for the covariance; "
                           "the point is stored without it");
        return nullptr;
    }

    // Reports it once if they are not.
    bool axesAreRead() {
        const std::string_view axes = axes_;
        if (axes == kUvw) return true;
        if (!axesAreTold_) {
            tracelogerror(reasonAt({input_.fileName(), axesLine_, {}}, kName,
                                   MessageText("covariance axes ") << (axes.empty() ? "(none)" : axes)
                                                                   << " are not read, UVW are; the covariances are "
                                                                      "left out"));
        }
        axesAreTold_ = true;
        return false;
    }

    void blameState() noexcept { input_.blame(stateLine_, stateNumber_); }

    BlockInput& input_;
    Vorlanrecord& record_;
    int headerLines_ = 0;
    InlineChars<kEphemerisColumns> axes_;
    std::int64_t axesLine_ = 0;
    bool axesAreTold_ = false;

    After after_ = After::CompletePoint;
    Vorlanstate point_;
    PointCovariance covariance_;
    std::size_t covarianceLines_ = 0;
    InlineChars<kEphemerisColumns> stateLine_;
    std::int64_t stateNumber_ = 0;
};

}  // namespace

std::int32_t ReadModifiedITC(BlockInput& input, Vorlanrecord& record) {
    record.satNum = satNumFromFileName(input.fileName(), input.rules());
    record.coordSys = frameOf(input.fileName());
    return PointReader(input, record).run();
}

}  // namespace vorlandi
