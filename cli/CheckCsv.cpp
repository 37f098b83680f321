#include "CheckReport.hpp"
#include "ForeignTexts.hpp"
#include "Values.hpp"

namespace vorlandi::cli {
namespace {

// `satellite` is null for the findings of a file.
void printLine(const analysis::Finding& finding, const std::string& file, const CheckedSatellite* satellite,
               Output& output) {
    output.print("{},{},{},{},{},{},{},{},{},{},{}\n", nameOf(finding.severity), nameOf(finding.kind), csvField(file),
                 finding.line > 0 ? std::to_string(finding.line) : "",
                 satellite ? std::to_string(satellite->record.number) : "",
                 satellite ? std::to_string(satellite->inFile) : "", csvTime(finding.from), csvTime(finding.to),
                 csvNumber(finding.value), finding.unit, csvField(finding.text));
}

}  // namespace

void printCheckCsv(const CheckReport& report, Output& output) {
    output.write("severity,kind,file,line,satellite,record,from_utc,to_utc,value,unit,text\n");
    for (const CheckedFile& file : report.files)
        for (const analysis::Finding& finding : file.findings)
            printLine(finding, finding.file.empty() ? file.name : finding.file, nullptr, output);
    for (const CheckedSatellite& satellite : report.satellites)
        for (const analysis::Finding& finding : satellite.check.findings)
            printLine(finding, satellite.record.file, &satellite, output);
}

}  // namespace vorlandi::cli
