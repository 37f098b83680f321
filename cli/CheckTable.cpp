#include <algorithm>
#include <array>
#include <cmath>

#include "CheckReport.hpp"
#include "ForeignTexts.hpp"
#include "TextTable.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

using analysis::Finding;
using analysis::Severity;

std::string rounded(std::optional<double> value) {
    return value && std::isfinite(*value) ? analysis::roundedText(*value) : "-";
}

// Leaves out a fraction of zeros.
std::string shortTime(Ds50 time) {
    std::string text = isoTime(time.days);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.ends_with('.')) text.pop_back();
    return text;
}

// The date of the second time is left out if it is the same.
std::string timesOf(const Finding& finding) {
    constexpr std::size_t kDateAndT = 11;
    if (!finding.from) return "";
    const std::string from = shortTime(*finding.from);
    std::string to = finding.to ? shortTime(*finding.to) : from;
    if (to == from) return " " + from;
    if (to.substr(0, kDateAndT) == from.substr(0, kDateAndT)) to.erase(0, kDateAndT);
    return " " + from + " to " + to;
}

// Prints the findings of one satellite or file, and how many of a kind there are beyond the limit.
class Findings {
public:
    Findings(std::string subject, std::size_t limit, Output& output)
        : subject_(std::move(subject)), limit_(limit), output_(output) {}

    void print(const std::vector<Finding>& findings) {
        for (const Finding& finding : findings)
            if (++counts_[static_cast<std::size_t>(finding.kind)] <= limit_)
                output_.write(lineOf(finding, subject_) + '\n');
        for (std::size_t kind = 0; kind < counts_.size(); ++kind)
            if (counts_[kind] > limit_)
                output_.print("{}: {} more {}\n", subject_, counts_[kind] - limit_, analysis::kKindNames[kind]);
    }

private:
    std::string subject_;
    std::size_t limit_;
    Output& output_;
    std::array<std::size_t, analysis::kKindNames.size()> counts_{};
};

}  // namespace

std::string subjectOf(const CheckedSatellite& satellite) {
    return printable(nameOf(RecordOfFile{satellite.record, satellite.inFile}));
}

std::string lineOf(const Finding& finding, const std::string& subject) {
    const std::string place = finding.line > 0 ? fmt::format("{}:{}", printable(finding.file), finding.line) : subject;
    return fmt::format("{}: {} {}{}: {}", place, nameOf(finding.severity), nameOf(finding.kind), timesOf(finding),
                       printable(finding.text));
}

void printCheckTable(const CheckReport& report, std::size_t limit, Output& output) {
    using enum Align;
    TextTable table({Right, Left, Right, Left, Left, Right, Right, Right, Right, Right, Right, Right},
                    {"satellite", "frame", "points", "first (UTC)", "last (UTC)", "spacing (s)", "inside (m)",
                     "ends (m)", "scatter (m)", "would do (s)", "errors", "warnings"});
    for (const CheckedSatellite& satellite : report.satellites) {
        const auto& [spacing, interpolation, covariances, findings] = satellite.check;
        const bool hasPoints = satellite.points > 0;
        const std::optional<double> ends_m = interpolation.first_m
                                                 ? std::max(*interpolation.first_m, interpolation.last_m.value_or(0.0))
                                                 : interpolation.last_m;
        table.addRow(
            {std::to_string(satellite.record.number), name(satellite.record.frame), std::to_string(satellite.points),
             hasPoints ? isoTime(satellite.span.start) : "", hasPoints ? isoTime(satellite.span.end) : "",
             rounded(spacing ? std::optional(spacing->median_s) : std::nullopt), rounded(interpolation.inside_m),
             rounded(ends_m), rounded(interpolation.scatter_m), rounded(interpolation.wouldDo_s),
             std::to_string(countOf(findings, Severity::Error)), std::to_string(countOf(findings, Severity::Warning))});
    }
    if (!report.satellites.empty()) table.print(output);
    for (const CheckedFile& file : report.files)
        Findings(printable(file.name), limit, output).print(file.findings);
    for (const CheckedSatellite& satellite : report.satellites)
        Findings(subjectOf(satellite), limit, output).print(satellite.check.findings);
}

}  // namespace vorlandi::cli
