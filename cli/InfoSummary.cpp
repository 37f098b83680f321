#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>

#include "InfoReport.hpp"
#include "Spacing.hpp"
#include "TextTable.hpp"
#include "Values.hpp"

namespace vorlandi::cli {
namespace {

constexpr std::array<Share, 3> kShares{Share::All, Share::Some, Share::None};
// Numbers of satellites by share: all, some or none of their points.
using Shares = std::array<std::size_t, kShares.size()>;

// What holds for several satellites together.
class Group {
public:
    void add(const SatelliteInfo& info) {
        ++satellites;
        points += info.satellite.pointCount;
        gaps += info.spacing.gaps;
        ++velocities[indexOf(info.contents.velocities)];
        ++covariances[indexOf(info.contents.covariances)];
        if (info.satellite.pointCount > 0) {
            const Ds50 start{info.satellite.span.start};
            const Ds50 end{info.satellite.span.end};
            first = first ? std::min(*first, start) : start;
            last = last ? std::max(*last, end) : end;
        }
        if (!info.spacing.median_s) return;
        least_s = std::min(least_s.value_or(*info.spacing.least_s), *info.spacing.least_s);
        largest_s = std::max(largest_s.value_or(*info.spacing.largest_s), *info.spacing.largest_s);
        medians_s_.push_back(*info.spacing.median_s);
    }

    // Of the satellites' medians.
    std::optional<double> median_s() const {
        return medians_s_.empty() ? std::nullopt : std::optional(analysis::medianOf(medians_s_));
    }

    static std::size_t indexOf(Share share) {
        return static_cast<std::size_t>(std::find(kShares.begin(), kShares.end(), share) - kShares.begin());
    }

    std::size_t satellites = 0;
    std::int64_t points = 0;
    std::size_t gaps = 0;
    Shares velocities{};
    Shares covariances{};
    std::optional<Ds50> first;
    std::optional<Ds50> last;
    std::optional<double> least_s;
    std::optional<double> largest_s;

private:
    std::vector<double> medians_s_;
};

// By frame and format.
using Groups = std::map<std::pair<std::string, std::string>, Group>;

// Bytes that the process holds in memory, nearly all of them points.
std::int64_t residentBytes() {
    std::int64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

std::size_t withErrors(const FileStatuses& files) {
    return static_cast<std::size_t>(
        std::count_if(files.begin(), files.end(), [](const auto& file) { return file.second != 0; }));
}

std::string secondsText(std::optional<double> seconds) { return seconds ? fmt::format("{:.3f}", *seconds) : "-"; }
std::string timeText(std::optional<Ds50> time) { return time ? csvTime(time) : "-"; }

// "all points of 3, none of 1": what no satellite has is left out.
std::string sharesText(const Shares& shares) {
    constexpr std::array<const char*, kShares.size()> kNames{"all", "some", "none"};
    std::string text;
    for (std::size_t i = 0; i < kShares.size(); ++i)
        if (shares[i] > 0)
            text += fmt::format("{}{}{} of {}", text.empty() ? "" : ", ", kNames[i], text.empty() ? " points" : "",
                                shares[i]);
    return text.empty() ? "-" : text;
}

std::string filesText(const FileStatuses& files) {
    const std::size_t faulty = withErrors(files);
    return fmt::format("{}, {} with errors", files.size(), faulty == 0 ? "none" : std::to_string(faulty));
}

void printTable(const Group& all, const Groups& groups, const FileStatuses& files, Output& output) {
    using enum Align;
    TextTable block({Left, Left}, {"files", filesText(files)});
    block.addRow({"satellites", std::to_string(all.satellites)});
    block.addRow({"points", std::to_string(all.points)});
    block.addRow({"first (UTC)", timeText(all.first)});
    block.addRow({"last (UTC)", timeText(all.last)});
    block.addRow({"spacing (s)", fmt::format("least {}, median {}, largest {}", secondsText(all.least_s),
                                             secondsText(all.median_s()), secondsText(all.largest_s))});
    block.addRow({"gaps", std::to_string(all.gaps)});
    block.addRow({"velocities", sharesText(all.velocities)});
    block.addRow({"covariances", sharesText(all.covariances)});
    block.addRow({"memory (MB)", fmt::format("{:.1f}", static_cast<double>(residentBytes()) / 1e6)});
    block.print(output);

    TextTable table({Left, Left, Right, Right, Left, Left, Right, Right, Right, Right},
                    {"frame", "format", "satellites", "points", "first (UTC)", "last (UTC)", "least spacing (s)",
                     "median (s)", "largest (s)", "gaps"});
    for (const auto& [key, group] : groups)
        table.addRow({key.first, key.second, std::to_string(group.satellites), std::to_string(group.points),
                      timeText(group.first), timeText(group.last), secondsText(group.least_s),
                      secondsText(group.median_s()), secondsText(group.largest_s), std::to_string(group.gaps)});
    output.write("\n");
    table.print(output);
}

void printCsv(const Groups& groups, Output& output) {
    output.write(
        "frame,format,satellites,points,first_utc,last_utc,spacing_least_s,spacing_median_s,spacing_largest_s,"
        "gaps");
    for (const char* const what : {"velocities", "covariances"})
        for (const Share share : kShares)
            output.print(",{}_{}", what, nameOf(share));
    output.write("\n");
    for (const auto& [key, group] : groups)
        output.print("{},{},{},{},{},{},{},{},{},{},{},{}\n", csvField(key.first), csvField(key.second),
                     group.satellites, group.points, csvTime(group.first), csvTime(group.last),
                     csvNumber(group.least_s), csvNumber(group.median_s()), csvNumber(group.largest_s), group.gaps,
                     fmt::join(group.velocities, ","), fmt::join(group.covariances, ","));
}

// The satellites of which all, some or no points have it.
void printShares(const char* what, const Shares& shares, Output& output) {
    output.print(",\"{}\":{{", what);
    for (std::size_t i = 0; i < kShares.size(); ++i)
        output.print("{}\"{}\":{}", i == 0 ? "" : ",", nameOf(kShares[i]), shares[i]);
    output.write("}");
}

void printFields(const Group& group, Output& output) {
    output.print(R"("satellites":{},"points":{},"first_utc":{},"last_utc":{},"spacing_least_s":{},)", group.satellites,
                 group.points, jsonTime(group.first), jsonTime(group.last), jsonNumber(group.least_s));
    output.print(R"("spacing_median_s":{},"spacing_largest_s":{},"gaps":{})", jsonNumber(group.median_s()),
                 jsonNumber(group.largest_s), group.gaps);
    printShares("velocities", group.velocities, output);
    printShares("covariances", group.covariances, output);
}

void printJson(const Group& all, const Groups& groups, const FileStatuses& files, Output& output) {
    output.write(R"({"schema":"vorlandi.info/1","summary":{)");
    printFields(all, output);
    output.print(R"(,"memory_bytes":{},"groups":)", residentBytes());
    printJsonArray(groups, output, [&](const auto& entry) {
        output.print(R"({{"frame":{},"format":{},)", jsonText(entry.first.first), jsonText(entry.first.second));
        printFields(entry.second, output);
        output.write("}");
    });
    output.write("}");
    printFiles(files, output);
    output.write("}\n");
}

}  // namespace

const char* nameOf(Share share) {
    constexpr const char* kNames[] = {"none", "some", "all"};
    return kNames[static_cast<std::size_t>(share)];
}

void printFiles(const FileStatuses& files, Output& output) {
    output.write(",\"files\":");
    printJsonArray(files, output, [&](const auto& file) {
        output.print(R"({{"file":{},"status":{}}})", jsonText(file.first), file.second);
    });
}

void printSummary(const std::vector<SatelliteInfo>& satellites, const FileStatuses& files, Format format,
                  Output& output) {
    Group all;
    Groups groups;
    for (const SatelliteInfo& info : satellites) {
        all.add(info);
        groups[{name(info.satellite.frame), info.format}].add(info);
    }
    inFormat(
        format, [&] { printTable(all, groups, files, output); }, [&] { printCsv(groups, output); },
        [&] { printJson(all, groups, files, output); });
}

}  // namespace vorlandi::cli
