// The parts of a delivery's report as texts, for the table and for the page.
#pragma once

#include <string>
#include <vector>

#include "DeliveryReport.hpp"
#include "TextTable.hpp"

namespace vorlandi::cli {

struct TextRows {
    TextTable::Row titles;
    std::vector<bool> areTexts;  // for each column; numbers otherwise
    std::vector<TextTable::Row> rows;
};

TextRows groupRows(const DeliveryReport& report);
TextRows findingRows(const DeliveryReport& report);
TextRows ageRows(const DeliveryReport& report);
TextRows satelliteRows(const DeliveryReport& report);

// Errors and warnings, new ones marked; at most `limit` of a kind, then their number. Safe to print.
std::vector<std::string> findingLines(const DeliveryReport& report, std::size_t limit);
std::vector<std::string> changeLines(const DeliveryReport& report, std::size_t limit);

// What the table of ages means.
std::vector<std::string> ageNotes(const DeliveryReport& report);

}  // namespace vorlandi::cli
