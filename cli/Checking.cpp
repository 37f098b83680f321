#include "Checking.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "CommandTable.hpp"
#include "Options.hpp"
#include "Parallel.hpp"
#include "Selection.hpp"
#include "analysis/Covariances.hpp"

namespace vorlandi::cli {
namespace {

void check(CheckedSatellite& satellite, const analysis::CheckOptions& options, const Span& range) {
    const analysis::Ephemeris ephemeris = analysis::ephemerisOf(satellite.record.satellite, range);
    satellite.points = ephemeris.size();
    if (satellite.points > 0) satellite.span = {ephemeris.times.front().days, ephemeris.times.back().days};
    satellite.check = analysis::checkEphemeris(
        ephemeris, options, [&] { return analysis::covariancesBetween(satellite.record.satellite, ephemeris); });
}

bool isNamed(const std::vector<std::string>& kinds, analysis::Kind kind) {
    return std::find(kinds.begin(), kinds.end(), nameOf(kind)) != kinds.end();
}

std::string kindList() {
    std::string list;
    for (const char* const name : analysis::kKindNames)
        list += (list.empty() ? "" : ", ") + std::string(name);
    return list;
}

void addKinds(CLI::App& command, const std::string& option, std::vector<std::string>& kinds, const std::string& help) {
    command.add_option(option, kinds, help)
        ->type_name("KIND,...")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(withChoices(CLI::Validator(
                                [](const std::string& text) {
                                    return analysis::kindNamed(text)
                                               ? ""
                                               : text + " is not a kind of finding; these are: " + kindList();
                                },
                                ""),
                            {analysis::kKindNames.begin(), analysis::kKindNames.end()}));
}

}  // namespace

void KindChoice::requireSome() const {
    const bool isLeftOut = std::all_of(only.begin(), only.end(), [this](const std::string& kind) {
        return std::find(skip.begin(), skip.end(), kind) != skip.end();
    });
    if (!only.empty() && isLeftOut) throw UsageError("--skip", "leaves out all that --only names");
}

bool KindChoice::leavesOut(analysis::Kind kind) const {
    const bool isAlwaysReported = kind == analysis::Kind::NotExamined;
    return isNamed(skip, kind) || (!only.empty() && !isNamed(only, kind) && !isAlwaysReported);
}

void KindChoice::keepWanted(std::vector<analysis::Finding>& findings) const {
    std::erase_if(findings, [this](const analysis::Finding& finding) { return leavesOut(finding.kind); });
}

void addKindChoice(CLI::App& command, KindChoice& kinds) {
    addKinds(command, "--only", kinds.only, "Only these kinds of findings");
    addKinds(command, "--skip", kinds.skip, "Leave out these kinds of findings");
}

std::vector<CheckedSatellite> satellitesToCheck(const LoadResults& results, const std::vector<std::int32_t>& numbers,
                                                std::size_t earlier) {
    std::vector<CheckedSatellite> satellites;
    for (RecordOfFile& satellite : loadedRecords(results, earlier)) {
        if (!isWanted(satellite.record, numbers)) continue;
        const auto origin = results.origins.find(satellite.record.key());
        const std::string format = origin == results.origins.end() ? "" : origin->second.format;
        satellites.push_back({std::move(satellite.record), satellite.inFile, format, 0, {}, {}});
    }
    return satellites;
}

void checkAll(std::vector<CheckedSatellite>& satellites, const analysis::CheckOptions& options, const Span& range,
              unsigned threads) {
    inParallel(satellites.size(), threads, [&](std::size_t i) { check(satellites[i], options, range); });
}

}  // namespace vorlandi::cli
