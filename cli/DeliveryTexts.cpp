#include "DeliveryTexts.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "ForeignTexts.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

using analysis::AgeStatistics;
using analysis::Finding;
using analysis::Severity;

std::string roundedOrNone(std::optional<double> value) {
    return value && std::isfinite(*value) ? analysis::roundedText(*value) : "-";
}

std::string timeOrNone(std::size_t points, double time) { return points > 0 ? isoTime(time) : "-"; }

// Collects the lines of findings, at most so many of a kind.
class FindingLines {
public:
    explicit FindingLines(std::size_t limit) : limit_(limit) {}

    void add(const std::vector<Finding>& findings, const std::vector<bool>& isNew, const std::string& subject,
             Severity severity) {
        for (std::size_t i = 0; i < findings.size(); ++i) {
            const Finding& finding = findings[i];
            if (finding.severity != severity) continue;
            if (++counts_[static_cast<std::size_t>(finding.kind)] > limit_) continue;
            lines_.push_back((i < isNew.size() && isNew[i] ? "new: " : "") + lineOf(finding, subject));
        }
    }

    // After the findings of a severity.
    void addHeldBack(Severity severity) {
        for (std::size_t kind = 0; kind < counts_.size(); ++kind)
            if (counts_[kind] > limit_)
                lines_.push_back(fmt::format("{} more {}s {}", counts_[kind] - limit_, nameOf(severity),
                                             analysis::kKindNames[kind]));
        counts_ = {};
    }

    std::vector<std::string> result() { return std::move(lines_); }

private:
    std::size_t limit_;
    std::array<std::size_t, analysis::kKindNames.size()> counts_{};
    std::vector<std::string> lines_;
};

}  // namespace

TextRows groupRows(const DeliveryReport& report) {
    TextRows rows{{"frame", "spacing (s)", "satellites", "points", "first (UTC)", "last (UTC)"},
                  {true, false, false, false, true, true},
                  {}};
    for (const DeliveryGroup& group : groupsOf(report.now))
        rows.rows.push_back({name(group.frame), roundedOrNone(group.spacing_s), std::to_string(group.satellites),
                             std::to_string(group.points), timeOrNone(group.points, group.span.start),
                             timeOrNone(group.points, group.span.end)});
    return rows;
}

TextRows findingRows(const DeliveryReport& report) {
    TextRows rows{{"severity", "finding", "findings", "in"}, {true, true, false, false}, {}};
    if (report.before) {
        for (const char* const title : {"new", "unchanged", "gone"})
            rows.titles.emplace_back(title);
        rows.areTexts.insert(rows.areTexts.end(), 3, false);
    }
    for (const FindingCount& count : report.counts) {
        TextTable::Row row{nameOf(count.severity), analysis::nameOf(count.kind), std::to_string(count.findings),
                           std::to_string(count.subjects)};
        if (report.before)
            for (const std::size_t value : {count.added, count.findings - count.added, count.gone})
                row.push_back(std::to_string(value));
        rows.rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<std::string> findingLines(const DeliveryReport& report, std::size_t limit) {
    FindingLines lines(limit);
    for (const Severity severity : {Severity::Error, Severity::Warning}) {
        for (std::size_t i = 0; i < report.now.files.size(); ++i)
            lines.add(report.now.files[i].findings, report.isNewInFile[i], printable(report.now.files[i].name),
                      severity);
        for (std::size_t i = 0; i < report.now.satellites.size(); ++i)
            lines.add(report.now.satellites[i].check.findings, report.isNewInSatellite[i],
                      subjectOf(report.now.satellites[i]), severity);
        lines.addHeldBack(severity);
    }
    return lines.result();
}

std::vector<std::string> changeLines(const DeliveryReport& report, std::size_t limit) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < report.changes.size();) {
        const ChangeKind kind = report.changes[i].kind;
        std::size_t count = 0;
        for (; i < report.changes.size() && report.changes[i].kind == kind; ++i)
            if (++count <= limit)
                lines.push_back(fmt::format("{}: {} {}: {}", printable(nameOf(report.changes[i].record)),
                                            nameOf(severityOf(kind)), nameOf(kind), report.changes[i].text));
        if (count > limit) lines.push_back(fmt::format("{} more {}", count - limit, nameOf(kind)));
    }
    return lines;
}

TextRows ageRows(const DeliveryReport& report) {
    TextRows rows{{"age (days)", "satellites", "radial (m)", "in-track (m)", "cross-track (m)", "distance (m)",
                   "largest (m)", "of"},
                  std::vector<bool>(8, false),
                  {}};
    const bool hasSigmas = std::any_of(report.ages.begin(), report.ages.end(), [](const AgeStatistics& age) {
        return age.honesty != analysis::Honesty::Untold;
    });
    if (hasSigmas) {
        for (const char* const title :
             {"radial (sigmas)", "in-track (sigmas)", "cross-track (sigmas)", "factor", "covariances"})
            rows.titles.emplace_back(title);
        rows.areTexts.insert(rows.areTexts.end(), {false, false, false, false, true});
    }
    for (const AgeStatistics& age : report.ages) {
        TextTable::Row row{std::to_string(age.age_days), std::to_string(age.satellites)};
        for (const double rms_m : age.rms_m)
            row.push_back(roundedOrNone(rms_m));
        row.push_back(roundedOrNone(age.largest_m));
        const CheckedSatellite& largest = report.satelliteOf(age.largestOf);
        row.push_back(shortNameOf({largest.record, largest.inFile}));
        if (hasSigmas) {
            for (const double sigmas : age.rms_sigma)
                row.push_back(roundedOrNone(sigmas));
            row.push_back(roundedOrNone(age.factor));
            row.push_back(honestyText(age));
        }
        rows.rows.push_back(std::move(row));
    }
    return rows;
}

std::vector<std::string> ageNotes(const DeliveryReport& report) {
    if (!report.before) return {};
    std::size_t same = 0;
    std::size_t partlySame = 0;
    std::size_t leftOut = 0;
    std::size_t unanswered = 0;
    std::size_t inGaps = 0;
    for (const analysis::PredictionDifference& difference : report.differences) {
        same += difference.isSame ? 1 : 0;
        const bool differsAlways = std::all_of(difference.ages.begin(), difference.ages.end(), analysis::differs);
        partlySame += difference.isSame || differsAlways ? 0 : 1;
        leftOut += difference.isLeftOut && !difference.isSame ? 1 : 0;
        unanswered += difference.unanswered;
        inGaps += difference.inGaps;
    }
    std::vector<std::string> notes;
    if (report.ages.empty() && same + partlySame == 0)
        notes.emplace_back("No satellite could be compared with the previous delivery.");
    if (!report.ages.empty())
        notes.emplace_back(
            "This delivery minus the previous one, by the age of the previous: root mean squares over the satellites.");
    if (std::any_of(report.ages.begin(), report.ages.end(),
                    [](const AgeStatistics& age) { return age.normalizedSatellites > 0; }))
        notes.emplace_back("factor: standard deviations times this would explain the differences; 1 is honest.");
    if (std::any_of(report.ages.begin(), report.ages.end(),
                    [](const AgeStatistics& age) { return !age.setAside.empty(); }))
        notes.emplace_back("Satellites that are far off count only for the largest difference.");
    if (std::any_of(report.ages.begin(), report.ages.end(),
                    [](const AgeStatistics& age) { return age.satellites < analysis::kFewestForHonesty; }))
        notes.push_back(fmt::format("At ages with fewer than {} satellites all count, however far off.",
                                    analysis::kFewestForHonesty));
    if (same > 0)
        notes.push_back(fmt::format("{} not updated and not counted.",
                                    same == 1 ? "1 satellite was" : fmt::format("{} satellites were", same)));
    if (partlySame > 0)
        notes.push_back(
            fmt::format("{} the same states as before at some ages or all; these ages are not counted.",
                        partlySame == 1 ? "1 satellite has" : fmt::format("{} satellites have", partlySame)));
    if (leftOut > 0)
        notes.push_back(fmt::format("{} left out: errors of velocities or units in one of the two deliveries.",
                                    analysis::countIsText(leftOut, "satellite")));
    if (unanswered > 0)
        notes.push_back(fmt::format("At {} of the previous delivery, one of the two has no state.",
                                    analysis::countText(unanswered, "point")));
    if (inGaps > 0)
        notes.push_back(fmt::format("At {} of the previous delivery, this one has a gap: not compared there.",
                                    analysis::countText(inGaps, "point")));
    return notes;
}

TextRows satelliteRows(const DeliveryReport& report) {
    TextRows rows{{"satellite", "frame", "points", "first (UTC)", "last (UTC)", "spacing (s)", "errors", "warnings"},
                  {true, true, false, true, true, false, false, false},
                  {}};
    if (report.before) {
        for (const char* const title : {"largest difference (m)", "age (days)", "sigmas"})
            rows.titles.emplace_back(title);
        rows.areTexts.insert(rows.areTexts.end(), 3, false);
    }
    std::vector<const analysis::PredictionDifference*> differences(report.now.satellites.size(), nullptr);
    for (std::size_t i = 0; i < report.compared.size(); ++i)
        differences[report.compared[i].now] = &report.differences[i];
    for (std::size_t i = 0; i < report.now.satellites.size(); ++i) {
        const CheckedSatellite& satellite = report.now.satellites[i];
        const auto& spacing = satellite.check.spacing;
        TextTable::Row row{shortNameOf({satellite.record, satellite.inFile}),
                           name(satellite.record.frame),
                           std::to_string(satellite.points),
                           timeOrNone(satellite.points, satellite.span.start),
                           timeOrNone(satellite.points, satellite.span.end),
                           roundedOrNone(spacing ? std::optional(spacing->median_s) : std::nullopt),
                           std::to_string(countOf(satellite.check.findings, Severity::Error)),
                           std::to_string(countOf(satellite.check.findings, Severity::Warning))};
        if (report.before) {
            const analysis::AgeDifference* largest = nullptr;
            if (differences[i] != nullptr)
                for (const analysis::AgeDifference& age : differences[i]->ages)
                    if (largest == nullptr || age.largest_m > largest->largest_m) largest = &age;
            row.push_back(largest ? roundedOrNone(largest->largest_m) : "-");
            row.push_back(largest ? std::to_string(largest->age_days) : "-");
            row.push_back(largest ? roundedOrNone(std::sqrt(largest->meanSquaredDistance / 3.0)) : "-");
        }
        rows.rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace vorlandi::cli
