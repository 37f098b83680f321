// CCSDS Orbit Ephemeris Messages (CCSDS 502.0-B-3), key = value text.
#include <algorithm>

#include "writers/Frames.hpp"
#include "writers/Segments.hpp"
#include "writers/Times.hpp"
#include "writers/Writers.hpp"

namespace vorlandi::writers {
namespace {

constexpr std::size_t kPointsInWindow = 4;

std::string timeText(double time, Style style) {
    return style == Style::Example ? isoText26(time) : exactIsoText(time);
}

// What a reader has to know about the frame's name; empty if there is nothing.
std::string_view frameComment(Frame frame, const Options& options) {
    if (!options.refFrame.empty()) return "REF_FRAME was chosen by the user";
    if (frame == Frame::J2k)
        return "REF_FRAME: states read as ICRF are also called EME2000; they differ by 0.02 arc seconds";
    if (frame == Frame::Ecr) return "REF_FRAME: the realisation of ITRF is not known";
    return {};
}

void writeMetadata(const Ephemeris& ephemeris, const Segment& segment, const Options& options, Lines& out) {
    const auto orNumber = [&](const std::string& text) {
        return text.empty() ? fmt::to_string(ephemeris.number) : text;
    };
    const auto time = [&](std::size_t i) { return timeText(ephemeris.times[segment.first + i], out.style()); };
    const bool isExample = out.style() == Style::Example;
    const std::size_t last = segment.count - 1;
    out.line("");
    out.line("META_START");
    const std::string_view comment = frameComment(ephemeris.frame, options);
    if (!isExample && !comment.empty()) out.line("COMMENT {}", comment);
    out.line("OBJECT_NAME = {}", orNumber(options.objectName));
    out.line("OBJECT_ID = {}", orNumber(options.objectId));
    out.line("CENTER_NAME = EARTH");
    out.line("REF_FRAME = {}", options.refFrame.empty() ? nameIn(oemFrames(options.oemVersion), ephemeris.frame)
                                                        : std::string_view(options.refFrame));
    out.line("TIME_SYSTEM = UTC");
    out.line("START_TIME = {}", time(0));
    if (options.useable && segment.count >= kPointsInWindow) {
        out.line("USEABLE_START_TIME = {}", time(1));
        out.line("USEABLE_STOP_TIME = {}", time(last - 1));
    }
    out.line("STOP_TIME = {}", time(last));
    if (!isExample && segment.count > 1) {
        out.line("INTERPOLATION = HERMITE");
        out.line("INTERPOLATION_DEGREE = {}", 2 * std::min(segment.count, kPointsInWindow) - 1);
    }
    out.line("META_STOP");
    out.line("");
}

void writeState(double time, const State& state, Lines& out) {
    if (out.style() == Style::Example) return out.line("{} {}", isoText26(time), out.list(state));
    out.text(exactIsoText(time));
    out.numbersOf(state);
    out.end();
}

void writeCovariance(double time, const Covariance& covariance, Lines& out) {
    out.line("EPOCH = {}", timeText(time, out.style()));
    auto value = covariance.begin();
    for (int row = 0; row < 6; ++row) {
        for (int column = 0; column <= row; ++column) {
            if (column > 0) out.text(" ");
            out.number(*value++);
        }
        out.end();
    }
}

void writeCovariances(const Ephemeris& ephemeris, const Segment& segment, Lines& out) {
    if (out.style() == Style::Example || ephemeris.covariances.empty()) return;
    bool isOpen = false;
    for (std::size_t i = segment.first; i < segment.first + segment.count; ++i) {
        if (!isGiven(ephemeris.covariances[i])) continue;
        if (!isOpen) out.line("COVARIANCE_START");
        isOpen = true;
        writeCovariance(ephemeris.times[i], ephemeris.covariances[i], out);
    }
    if (isOpen) out.line("COVARIANCE_STOP");
}

}  // namespace

void beginOem(const Options& options, Lines& out) {
    out.line("CCSDS_OEM_VERS = {}", options.oemVersion);
    for (const std::string& comment : options.comments)
        out.line("COMMENT {}", comment);
    out.line("CREATION_DATE = {}", options.created);
    out.line("ORIGINATOR = {}", options.originator);
}

void writeOem(const Ephemeris& ephemeris, const Options& options, Lines& out) {
    for (const Segment& segment : segmentsOf(ephemeris)) {
        writeMetadata(ephemeris, segment, options, out);
        out.inBlocks(segment.count, [&](std::size_t first, std::size_t last, Lines& block) {
            for (std::size_t i = segment.first + first; i < segment.first + last; ++i)
                writeState(ephemeris.times[i], ephemeris.states[i], block);
        });
        writeCovariances(ephemeris, segment, out);
    }
}

}  // namespace vorlandi::writers
