// The findings of the command `check`, and the writers of its three forms.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Output.hpp"
#include "SatelliteRecord.hpp"
#include "analysis/Check.hpp"

namespace vorlandi::cli {

struct CheckedSatellite {
    SatelliteRecord record;
    std::int32_t inFile = 1;  // its number within its file
    std::string format;
    std::size_t points = 0;  // in the requested range, as is the span
    TimeSpan span;
    analysis::SatelliteCheck check;
};

// A file, and what loading it showed.
struct CheckedFile {
    std::string name;
    std::int32_t status = 0;
    std::vector<analysis::Finding> findings;
};

struct CheckReport {
    double tolerance_m = 0.0;
    std::vector<CheckedSatellite> satellites;
    std::vector<CheckedFile> files;

    std::size_t count(analysis::Severity severity) const;
};

std::size_t countOf(const std::vector<analysis::Finding>& findings, analysis::Severity severity);

// "satellite 81001 (a.e)", as it is printed.
std::string subjectOf(const CheckedSatellite& satellite);

// A line about a finding, without line feed. The subject is printed if the finding has no place in a file.
std::string lineOf(const analysis::Finding& finding, const std::string& subject);

// A JSON object.
std::string jsonOf(const analysis::Finding& finding);

// `limit`: how many findings of a kind are shown for one satellite or file.
void printCheckTable(const CheckReport& report, std::size_t limit, Output& output);
void printCheckCsv(const CheckReport& report, Output& output);
void printCheckJson(const CheckReport& report, Output& output);

}  // namespace vorlandi::cli
