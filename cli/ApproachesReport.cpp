#include "ApproachesReport.hpp"

#include "ForeignTexts.hpp"
#include "TextTable.hpp"
#include "Values.hpp"

namespace vorlandi::cli {
namespace {

using analysis::Approach;

constexpr std::string_view kComponents[] = {"radial_km", "in_track_km", "cross_track_km"};

std::optional<double> component(const Approach& event, std::size_t i) {
    return event.components_km ? std::optional((*event.components_km)[i]) : std::nullopt;
}

std::string rounded(std::optional<double> value, int decimals) {
    return value ? fmt::format("{:.{}f}", *value, decimals) : "-";
}

void printJson(const Approach& event, const ApproachesReport& report, Output& output) {
    const RecordOfFile& a = report.first(event);
    const RecordOfFile& b = report.second(event);
    output.print(R"({{"number_a":{},"number_b":{},"file_a":{},"file_b":{},"time_utc":{},"distance_km":{})",
                 a.record.number, b.record.number, jsonText(a.record.file), jsonText(b.record.file),
                 jsonTime(event.time), event.distance_km);
    for (std::size_t i = 0; i < 3; ++i)
        output.print(R"(,"{}":{})", kComponents[i], jsonNumber(component(event, i)));
    output.print(R"(,"speed_km_s":{},"sigma_distance":{},"at_end":{},"record_a":{},"record_b":{}}})", event.speed_km_s,
                 jsonNumber(event.sigmas), event.atEnd, a.inFile, b.inFile);
}

}  // namespace

void printApproachesTable(const ApproachesReport& report, Output& output) {
    using enum Align;
    const std::vector<Approach>& events = report.approaches.events;
    if (events.empty()) return output.print("no approach within {} km\n", report.within_km);
    TextTable table({Left, Right, Right, Right, Right, Right, Right, Right, Right, Left},
                    {"time (UTC)", "a", "b", "distance (km)", "radial (km)", "in-track (km)", "cross-track (km)",
                     "speed (km/s)", "sigmas", ""});
    for (const Approach& event : events)
        table.addRow({isoTime(event.time.days), shortNameOf(report.first(event)), shortNameOf(report.second(event)),
                      rounded(event.distance_km, 3), rounded(component(event, 0), 3), rounded(component(event, 1), 3),
                      rounded(component(event, 2), 3), rounded(event.speed_km_s, 3), rounded(event.sigmas, 2),
                      event.atEnd ? "end of the common span" : ""});
    table.print(output);
}

void printApproachesCsv(const ApproachesReport& report, Output& output) {
    output.write(
        "number_a,number_b,file_a,file_b,time_utc,distance_km,radial_km,in_track_km,cross_track_km,speed_km_s,"
        "sigma_distance,at_end,record_a,record_b\n");
    for (const Approach& event : report.approaches.events) {
        const RecordOfFile& a = report.first(event);
        const RecordOfFile& b = report.second(event);
        output.print("{},{},{},{},{},{},{},{},{},{},{},{},{},{}\n", a.record.number, b.record.number,
                     csvField(a.record.file), csvField(b.record.file), isoTime(event.time.days), event.distance_km,
                     csvNumber(component(event, 0)), csvNumber(component(event, 1)), csvNumber(component(event, 2)),
                     event.speed_km_s, csvNumber(event.sigmas), event.atEnd, a.inFile, b.inFile);
    }
}

void printApproachesJson(const ApproachesReport& report, Output& output) {
    output.print(R"({{"schema":"vorlandi.approaches/1","within_km":{},"satellites":)", report.within_km);
    printJsonArray(report.satellites, output, [&](const RecordOfFile& satellite) {
        const auto index = static_cast<std::size_t>(&satellite - report.satellites.data());
        output.print(R"({{"satellite":{},"record":{},"file":{},"frame":{},"answered":{}}})", satellite.record.number,
                     satellite.inFile, jsonText(satellite.record.file), jsonText(name(satellite.record.frame)),
                     report.approaches.answered[index]);
    });
    output.write(",\"approaches\":");
    printJsonArray(report.approaches.events, output, [&](const Approach& event) { printJson(event, report, output); });
    output.print(",\"pairs_across_frames\":{},\"pairs_of_same_number\":{}}}\n", report.approaches.pairsAcrossFrames,
                 report.approaches.pairsOfSameNumber);
}

}  // namespace vorlandi::cli
