#include "CheckReport.hpp"
#include "ForeignTexts.hpp"
#include "Values.hpp"

namespace vorlandi::cli {
namespace {

using analysis::Finding;
using analysis::Severity;

std::string components(const std::array<double, 3>& vector) {
    return fmt::format("[{},{},{}]", jsonNumber(vector[0]), jsonNumber(vector[1]), jsonNumber(vector[2]));
}

void printFindings(const std::vector<Finding>& findings, Output& output) {
    output.write("\"findings\":");
    printJsonArray(findings, output, [&](const Finding& finding) { output.write(jsonOf(finding)); });
}

void printSatellite(const CheckedSatellite& satellite, Output& output) {
    const auto& [spacing, interpolation, covariances, findings] = satellite.check;
    const auto timeOf = [&](double ds50UTC) {
        return jsonTime(satellite.points > 0 ? std::optional(Ds50{ds50UTC}) : std::nullopt);
    };
    output.print(R"({{"satellite":{},"record":{},"file":{},"format":{},"frame":{},"points":{},)",
                 satellite.record.number, satellite.inFile, jsonText(satellite.record.file), jsonText(satellite.format),
                 jsonText(name(satellite.record.frame)), satellite.points);
    output.print(R"("first_utc":{},"last_utc":{},)", timeOf(satellite.span.start), timeOf(satellite.span.end));
    if (spacing)
        output.print(R"("spacing_s":{{"least":{},"median":{},"largest":{}}},)", jsonNumber(spacing->least_s),
                     jsonNumber(spacing->median_s), jsonNumber(spacing->largest_s));
    else
        output.write(R"("spacing_s":null,)");
    output.print(R"("interpolation":{{"inside_m":{},"first_m":{},"last_m":{},"spacing_m":{},"digits_m":{},)",
                 jsonNumber(interpolation.inside_m), jsonNumber(interpolation.first_m),
                 jsonNumber(interpolation.last_m), jsonNumber(interpolation.spacing_m),
                 jsonNumber(interpolation.digits_m));
    output.print(R"("worst_utc":{},"scatter_m":{},"largest_gain":{},"would_do_s":{}}},)", jsonTime(interpolation.worst),
                 jsonNumber(interpolation.scatter_m), jsonNumber(interpolation.largestGain),
                 jsonNumber(interpolation.wouldDo_s));
    output.print(R"("covariances":{},)", covariances);
    printFindings(findings, output);
    output.write("}");
}

}  // namespace

std::string jsonOf(const Finding& finding) {
    std::string text = fmt::format(
        R"({{"severity":"{}","kind":"{}","line":{},"from_utc":{},"to_utc":{},"value":{},"unit":{},"text":{})",
        nameOf(finding.severity), nameOf(finding.kind), finding.line > 0 ? std::to_string(finding.line) : "null",
        jsonTime(finding.from), jsonTime(finding.to), jsonNumber(finding.value),
        *finding.unit == '\0' ? "null" : jsonText(finding.unit), jsonText(finding.text));
    if (finding.jump)
        text += fmt::format(R"(,"jump":{{"dv_m_s":{},"dx_m":{}}})", components(finding.jump->dv_m_s),
                            finding.jump->dx_m ? components(*finding.jump->dx_m) : "null");
    return text + "}";
}

void printCheckJson(const CheckReport& report, Output& output) {
    output.print("{{\"schema\":\"vorlandi.check/1\",\"tolerance_m\":{},\"satellites\":",
                 jsonNumber(report.tolerance_m));
    printJsonArray(report.satellites, output,
                   [&](const CheckedSatellite& satellite) { printSatellite(satellite, output); });
    output.write(",\"files\":");
    printJsonArray(report.files, output, [&](const CheckedFile& file) {
        output.print(R"({{"file":{},"status":{},)", jsonText(file.name), file.status);
        printFindings(file.findings, output);
        output.write("}");
    });
    output.print(",\"errors\":{},\"warnings\":{},\"notes\":{}}}\n", report.count(Severity::Error),
                 report.count(Severity::Warning), report.count(Severity::Note));
}

}  // namespace vorlandi::cli
