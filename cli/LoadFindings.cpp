#include "LoadFindings.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <tuple>

#include "analysis/Check.hpp"

namespace vorlandi::cli {
namespace {

using analysis::Finding;
using analysis::Kind;
using analysis::Severity;

constexpr std::string_view kDivided = "the record is divided there";

std::string wordsOf(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") + 1 - first));
}

bool isCovarianceKeyword(const LoadReport& report) {
    const std::string words = wordsOf(report.lineText);
    return report.problem == LoadProblem::UnreadableLine &&
           (words == "CovarianceTimePos" || words == "CovarianceTimePosVel");
}

bool isHarmless(const LoadReport& report) {
    return isCovarianceKeyword(report) ||
           (report.problem == LoadProblem::UnreadableLine && wordsOf(report.lineText) == "END Ephemeris");
}

// The line of the keyword of a covariance block that the file's reader has no use for, 0 if there is none.
std::int64_t covarianceBlockIn(const LoadResults& results, const std::string& file) {
    for (const LoadReport& report : results.reports)
        if (report.file == file && isCovarianceKeyword(report)) return report.line;
    return 0;
}

bool endsBelowGround(const SatelliteRecord& record) {
    const Outcome<Point> last = record.satellite.try_point(record.pointCount);
    if (!last) return false;
    const auto& [x, y, z] = last.value.state.position_km;
    return std::hypot(x, y, z) < analysis::kGround_km;
}

}  // namespace

Finding findingOf(const LoadReport& report, const LoadResults& results) {
    const auto make = [&](Severity severity, Kind kind, std::string text) {
        Finding finding{severity, kind, std::move(text)};
        finding.file = report.file;
        finding.line = report.line;
        return finding;
    };
    if (isCovarianceKeyword(report))
        return make(Severity::Note, Kind::HarmlessLine,
                    wordsOf(report.lineText) + ": the file's covariance is not read");
    if (isHarmless(report))
        return make(Severity::Note, Kind::HarmlessLine, wordsOf(report.lineText) + ": the reader has no use for it");
    switch (report.problem) {
        case LoadProblem::UnreadableLine:
            return make(Severity::Error, Kind::UnreadableLine, report.text);
        case LoadProblem::DroppedPoints: {
            const std::int64_t block = covarianceBlockIn(results, report.file);
            if (block > 0 && report.line > block)
                return make(Severity::Note, Kind::HarmlessLine, report.text + ", in a covariance block");
            return make(Severity::Warning, Kind::DroppedPoint, report.text);
        }
        case LoadProblem::Remark:
            return make(Severity::Note, report.text.find(kDivided) != std::string::npos ? Kind::Seam : Kind::NotRead,
                        report.text);
        case LoadProblem::EndedBlock:
        case LoadProblem::UnreadableFile:
        case LoadProblem::NotStored:
        case LoadProblem::Other:
            break;
    }
    return make(Severity::Error, Kind::NotRead, report.text);
}

std::vector<CheckedFile> filesOf(const LoadResults& results) {
    std::vector<CheckedFile> files;
    const auto fileNamed = [&](const std::string& name) -> CheckedFile& {
        const auto found =
            std::find_if(files.begin(), files.end(), [&](const CheckedFile& file) { return file.name == name; });
        if (found != files.end()) return *found;
        return files.emplace_back(CheckedFile{name, 0, {}});
    };
    for (const auto& [name, status] : results.statuses)
        fileNamed(name).status = status;
    for (const LoadReport& report : results.reports)
        fileNamed(report.file).findings.push_back(findingOf(report, results));
    return files;
}

namespace {

// A record that begins with a second state at the last time of the previous one.
void findSeam(const SatelliteRecord& before, CheckedSatellite& satellite) {
    const SatelliteRecord& record = satellite.record;
    const bool continues = before.file == record.file && before.number == record.number &&
                           before.frame == record.frame && before.pointCount > 0 && record.pointCount > 0 &&
                           before.span.end == record.span.start;
    if (!continues) return;
    Finding finding{Severity::Note, Kind::Seam,
                    "the record begins with a second state at the last time of the previous one: states on both sides "
                    "of that time may differ"};
    finding.from = finding.to = Ds50{record.span.start};
    satellite.check.findings.push_back(std::move(finding));
}

}  // namespace

void findAmongSatellites(const LoadResults& results, std::vector<CheckedSatellite>& satellites) {
    for (std::size_t i = 1; i < satellites.size(); ++i)
        findSeam(satellites[i - 1].record, satellites[i]);
    std::map<std::tuple<std::int32_t, std::int32_t, double>, const SatelliteRecord*> earlier;
    for (CheckedSatellite& satellite : satellites) {
        const SatelliteRecord& record = satellite.record;
        auto& findings = satellite.check.findings;
        const auto [first, isNew] =
            earlier.try_emplace({record.number, static_cast<std::int32_t>(record.frame), record.span.start}, &record);
        if (!isNew)
            findings.push_back({Severity::Warning, Kind::Duplicate,
                                "the satellite in " + first->second->file +
                                    " has the same number, frame and first time: an ordinary load refuses this one"});
        if (covarianceBlockIn(results, record.file) > 0 && endsBelowGround(record))
            findings.push_back({Severity::Error, Kind::CovarianceAsPoints,
                                "lines of a covariance block are taken as the last points"});
    }
}

std::vector<const LoadReport*> unreadableFiles(const LoadResults& results,
                                               const std::vector<SatelliteRecord>& satellites) {
    std::set<std::string> stored;
    for (const SatelliteRecord& satellite : satellites)
        stored.insert(satellite.file);
    const auto endsFile = [&](const LoadReport& report) {
        if (report.problem == LoadProblem::UnreadableFile) return true;
        const bool isRefused = report.problem == LoadProblem::EndedBlock || report.problem == LoadProblem::NotStored ||
                               report.problem == LoadProblem::Other;
        return isRefused && !stored.contains(report.file);
    };
    std::vector<const LoadReport*> unreadable;
    for (const LoadReport& report : results.reports)
        if (endsFile(report)) unreadable.push_back(&report);
    return unreadable;
}

}  // namespace vorlandi::cli
