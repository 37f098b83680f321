#include "DeliveryReport.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>
#include <tuple>

#include "Parallel.hpp"
#include "analysis/Comparison.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

using analysis::Finding;
using analysis::Severity;

struct ChangeRow {
    std::string_view name;
    Severity severity;
};
// In the order of ChangeKind.
constexpr std::array<ChangeRow, 7> kChanges{{{"missing", Severity::Warning},
                                             {"added", Severity::Note},
                                             {"frame-changed", Severity::Warning},
                                             {"no-overlap", Severity::Warning},
                                             {"ends-earlier", Severity::Warning},
                                             {"not-updated", Severity::Warning},
                                             {"far-off", Severity::Warning}}};

std::string fileNameOf(const std::string& path) { return std::filesystem::path(path).filename().string(); }

RecordOfFile recordOf(const CheckedSatellite& satellite) { return {satellite.record, satellite.inFile}; }

std::vector<analysis::DeliveredRecord> recordsOf(const CheckedDelivery& delivery) {
    std::vector<analysis::DeliveredRecord> records;
    for (const CheckedSatellite& satellite : delivery.satellites) {
        records.push_back({satellite.record.number, satellite.record.frame, fileNameOf(satellite.record.file), {}});
        if (satellite.points > 0) records.back().span = Span{{satellite.span.start}, {satellite.span.end}};
    }
    return records;
}

// Compares a delivery with the one before.
class DeliveryComparison {
public:
    DeliveryComparison(DeliveryReport& report, unsigned threads)
        : report_(report),
          now_(report.now),
          before_(*report.before),
          match_(matchRecords(recordsOf(now_), recordsOf(before_))),
          threads_(threads) {}

    void run() {
        compareStates();
        findChanges();
        compareFindings();
    }

    const std::vector<const Finding*>& gone() const { return gone_; }

private:
    void compareStates() {
        for (const analysis::RecordPair& pair : match_.pairs) {
            const auto span = analysis::commonSpan(now_.satellites[pair.now].record.satellite,
                                                   before_.satellites[pair.before].record.satellite);
            if (pair.overlaps && span) report_.compared.push_back({pair.now, pair.before, *span});
        }
        report_.differences.resize(report_.compared.size());
        inParallel(report_.compared.size(), threads_, [this](std::size_t i) {
            const auto& [now, before, span] = report_.compared[i];
            analysis::PredictionDifference& difference = report_.differences[i];
            difference = analysis::differenceByAge(before_.satellites[before].record.satellite,
                                                   now_.satellites[now].record.satellite, span);
            if (!before_.areStatesWrong[before] && !now_.areStatesWrong[now]) return;
            const bool isSame = difference.isSame;
            difference = {};
            difference.isSame = isSame;
            difference.isLeftOut = true;
        });
        report_.ages = analysis::statisticsByAge(report_.differences);
    }

    void add(ChangeKind kind, const CheckedSatellite& satellite, std::string text) {
        report_.changes.push_back({kind, recordOf(satellite), std::move(text)});
    }

    void findChanges() {
        for (const std::size_t i : match_.missing)
            add(ChangeKind::Missing, before_.satellites[i], "is not in this delivery");
        for (const std::size_t i : match_.added)
            add(ChangeKind::Added, now_.satellites[i], "was not in the previous delivery");
        for (const analysis::RecordPair& pair : match_.framesDiffer)
            add(ChangeKind::FrameChanged, now_.satellites[pair.now],
                fmt::format("its frame is {} and was {}: not compared", name(now_.satellites[pair.now].record.frame),
                            name(before_.satellites[pair.before].record.frame)));
        for (const analysis::RecordPair& pair : match_.pairs)
            if (!pair.overlaps)
                add(ChangeKind::NoOverlap, now_.satellites[pair.now],
                    "has no time in common with the previous delivery: not compared");
        for (std::size_t i = 0; i < report_.compared.size(); ++i)
            findChangesOf(report_.compared[i], report_.differences[i]);
        findFarOff();
        std::stable_sort(report_.changes.begin(), report_.changes.end(),
                         [](const Change& a, const Change& b) { return a.kind < b.kind; });
    }

    void findChangesOf(const ComparedRecords& compared, const analysis::PredictionDifference& difference) {
        const CheckedSatellite& now = now_.satellites[compared.now];
        const CheckedSatellite& before = before_.satellites[compared.before];
        if (difference.isSame) add(ChangeKind::NotUpdated, now, "has the points of the previous delivery");
        const double earlier_s = (before.span.end - now.span.end) * kSecondsPerDay;
        const double step_s = before.check.spacing ? before.check.spacing->median_s : 0.0;
        if (earlier_s > step_s + kTimeTolerance_s)
            add(ChangeKind::EndsEarlier, now,
                fmt::format("ends {} s before the end of the previous delivery, at {}",
                            analysis::roundedText(earlier_s), isoTime(now.span.end)));
    }

    static std::string sizeText(const analysis::AgeDifference& difference, const analysis::AgeStatistics& age) {
        if (yardstickFor(difference, age) == analysis::Yardstick::Sigmas)
            return fmt::format("{} standard deviations",
                               analysis::roundedText(std::sqrt(difference.meanSquaredDistance / 3.0)));
        return fmt::format("{} (the median of the satellites is {})",
                           analysis::lengthText(std::sqrt(difference.meanSquares_m2.back())),
                           analysis::lengthText(age.usual_m));
    }

    // Reports the first age at which a satellite is far off.
    void findFarOff() {
        std::set<std::size_t> told;
        for (const analysis::AgeStatistics& age : report_.ages)
            for (const std::size_t i : age.setAside) {
                if (!told.insert(i).second) continue;
                const auto& ages = report_.differences[i].ages;
                const auto difference = std::find_if(ages.begin(), ages.end(),
                                                     [&](const auto& other) { return other.age_days == age.age_days; });
                add(ChangeKind::FarOff, report_.satelliteOf(i),
                    fmt::format("differs from the previous delivery by {}, rms, at an age of {}, "
                                "and by up to {}: a manoeuvre, or one of the two is wrong",
                                sizeText(*difference, age),
                                analysis::countText(static_cast<std::size_t>(age.age_days), "day"),
                                analysis::lengthText(difference->largest_m)));
            }
    }

    void keepAllGone(const std::vector<Finding>& before) {
        for (const Finding& finding : before)
            gone_.push_back(&finding);
    }

    void keepGone(const std::vector<Finding>& before, const std::vector<std::size_t>& gone) {
        for (const std::size_t i : gone)
            gone_.push_back(&before[i]);
    }

    void compareFindings() {
        std::map<std::size_t, std::size_t> partners;
        for (const auto* const pairs : {&match_.pairs, &match_.framesDiffer})
            for (const analysis::RecordPair& pair : *pairs)
                partners[pair.now] = pair.before;
        for (std::size_t i = 0; i < now_.satellites.size(); ++i) {
            const CheckedSatellite& now = now_.satellites[i];
            const auto partner = partners.find(i);
            static const std::vector<Finding> kNoFindings;
            const std::vector<Finding>& before =
                partner == partners.end() ? kNoFindings : before_.satellites[partner->second].check.findings;
            const analysis::FindingChanges changes =
                analysis::compareFindings(now.check.findings, before, {{now.span.start}, {now.span.end}});
            report_.isNewInSatellite[i] = changes.isNew;
            keepGone(before, changes.gone);
        }
        for (const std::size_t i : match_.missing)
            keepAllGone(before_.satellites[i].check.findings);
        compareFindingsOfFiles(partners);
    }

    // Files belong together if satellites of theirs do, or if their names are the same.
    void compareFindingsOfFiles(const std::map<std::size_t, std::size_t>& partners) {
        std::map<std::string, std::string> names;
        for (const auto& [now, before] : partners)
            names.try_emplace(now_.satellites[now].record.file, before_.satellites[before].record.file);
        std::set<const CheckedFile*> used;
        for (std::size_t i = 0; i < now_.files.size(); ++i) {
            const CheckedFile& now = now_.files[i];
            const auto named = names.find(now.name);
            const auto before = std::find_if(before_.files.begin(), before_.files.end(), [&](const CheckedFile& file) {
                const bool belongs =
                    named != names.end() ? file.name == named->second : fileNameOf(file.name) == fileNameOf(now.name);
                return belongs && !used.contains(&file);
            });
            if (before == before_.files.end()) continue;
            used.insert(&*before);
            const analysis::FindingChanges changes =
                analysis::compareFindings(now.findings, before->findings, analysis::kAllTimes);
            report_.isNewInFile[i] = changes.isNew;
            keepGone(before->findings, changes.gone);
        }
        for (const CheckedFile& before : before_.files)
            if (!used.contains(&before)) keepAllGone(before.findings);
    }

    DeliveryReport& report_;
    const CheckedDelivery& now_;
    const CheckedDelivery& before_;
    analysis::RecordMatch match_;
    unsigned threads_;
    std::vector<const Finding*> gone_;
};

// How often each kind of finding occurs.
class Counting {
public:
    void add(const std::vector<Finding>& findings, const std::vector<bool>& isNew) {
        std::set<FindingCount*> seen;
        for (std::size_t i = 0; i < findings.size(); ++i) {
            FindingCount& count = of(findings[i]);
            ++count.findings;
            count.subjects += seen.insert(&count).second ? 1 : 0;
            count.added += i < isNew.size() && isNew[i] ? 1 : 0;
        }
    }
    void addGone(const Finding& finding) { ++of(finding).gone; }

    std::vector<FindingCount> result() const {
        std::vector<FindingCount> counts;
        for (const auto& [key, count] : counts_)
            counts.push_back(count);
        return counts;
    }

private:
    FindingCount& of(const Finding& finding) {
        return counts_.try_emplace({finding.severity, finding.kind}, FindingCount{finding.severity, finding.kind})
            .first->second;
    }

    std::map<std::pair<Severity, analysis::Kind>, FindingCount> counts_;
};

}  // namespace

std::string_view nameOf(ChangeKind kind) { return kChanges[static_cast<std::size_t>(kind)].name; }
Severity severityOf(ChangeKind kind) { return kChanges[static_cast<std::size_t>(kind)].severity; }

std::size_t DeliveryReport::count(Severity severity) const {
    const auto changed = std::count_if(changes.begin(), changes.end(),
                                       [&](const Change& change) { return severityOf(change.kind) == severity; });
    std::size_t count = static_cast<std::size_t>(changed);
    for (const FindingCount& found : counts)
        if (found.severity == severity) count += found.findings;
    return count;
}

void compareDeliveries(DeliveryReport& report, unsigned threads) {
    Counting counting;
    report.isNewInSatellite.resize(report.now.satellites.size());
    report.isNewInFile.resize(report.now.files.size());
    if (report.before) {
        for (std::size_t i = 0; i < report.now.files.size(); ++i)
            report.isNewInFile[i].assign(report.now.files[i].findings.size(), true);
        DeliveryComparison comparison(report, threads);
        comparison.run();
        for (const Finding* const finding : comparison.gone())
            counting.addGone(*finding);
    }
    for (std::size_t i = 0; i < report.now.satellites.size(); ++i)
        counting.add(report.now.satellites[i].check.findings, report.isNewInSatellite[i]);
    for (std::size_t i = 0; i < report.now.files.size(); ++i)
        counting.add(report.now.files[i].findings, report.isNewInFile[i]);
    report.counts = counting.result();
}

std::vector<DeliveryGroup> groupsOf(const CheckedDelivery& delivery) {
    std::map<std::tuple<Frame, double>, DeliveryGroup> groups;
    for (const CheckedSatellite& satellite : delivery.satellites) {
        const auto& spacing = satellite.check.spacing;
        const double spacing_s = spacing ? std::round(spacing->median_s) : -1.0;
        const auto [entry, isFirst] = groups.try_emplace({satellite.record.frame, spacing_s});
        DeliveryGroup& group = entry->second;
        group.frame = satellite.record.frame;
        if (spacing) group.spacing_s = spacing_s;
        ++group.satellites;
        group.points += satellite.points;
        if (satellite.points == 0) continue;
        const bool isEmpty = group.points == satellite.points;
        group.span.start = isEmpty ? satellite.span.start : std::min(group.span.start, satellite.span.start);
        group.span.end = isEmpty ? satellite.span.end : std::max(group.span.end, satellite.span.end);
    }
    std::vector<DeliveryGroup> result;
    result.reserve(groups.size());
    for (auto& [key, group] : groups)
        result.push_back(group);
    return result;
}

std::string summaryOf(const CheckedDelivery& delivery) {
    std::size_t points = 0;
    std::set<std::string> files;
    std::optional<TimeSpan> span;
    for (const CheckedSatellite& satellite : delivery.satellites) {
        points += satellite.points;
        files.insert(satellite.record.file);
        if (satellite.points == 0) continue;
        if (!span) span = satellite.span;
        span->start = std::min(span->start, satellite.span.start);
        span->end = std::max(span->end, satellite.span.end);
    }
    return fmt::format("{} in {}, {}", analysis::countText(delivery.satellites.size(), "satellite"),
                       analysis::countText(files.size(), "file"), analysis::countText(points, "point")) +
           (span ? fmt::format(", {} to {}", isoTime(span->start), isoTime(span->end)) : "");
}

std::string_view nameOf(analysis::Honesty honesty) {
    constexpr std::string_view kNames[] = {"", "too few", "honest", "optimistic", "pessimistic"};
    return kNames[static_cast<std::size_t>(honesty)];
}

std::string honestyText(const analysis::AgeStatistics& statistics) {
    using analysis::Honesty;
    std::string name(nameOf(statistics.honesty));
    switch (statistics.honesty) {
        case Honesty::Untold:
            return "-";
        case Honesty::TooFew:
            return "too few satellites to tell";
        case Honesty::Honest:
            return name;
        case Honesty::Optimistic:
            return fmt::format("{} by a factor of {}", name, analysis::roundedText(statistics.factor));
        case Honesty::Pessimistic:
            return fmt::format("{} by a factor of {}", name, analysis::roundedText(1.0 / statistics.factor));
    }
    return "-";
}

}  // namespace vorlandi::cli
