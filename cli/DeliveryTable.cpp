#include <algorithm>
#include <cmath>

#include "DeliveryReport.hpp"
#include "DeliveryTexts.hpp"
#include "ForeignTexts.hpp"
#include "TextTable.hpp"

namespace vorlandi::cli {
namespace {

using enum Align;

TextTable textTableOf(const TextRows& rows) {
    std::vector<Align> alignments;
    for (const bool isText : rows.areTexts)
        alignments.push_back(isText ? Left : Right);
    TextTable table(std::move(alignments), rows.titles);
    for (const TextTable::Row& row : rows.rows)
        table.addRow(row);
    return table;
}

void printRows(const TextRows& rows, Output& output) {
    if (rows.rows.empty()) return;
    output.write("\n");
    textTableOf(rows).print(output);
}

void printLines(const std::vector<std::string>& lines, Output& output) {
    if (!lines.empty()) output.write("\n");
    for (const std::string& line : lines)
        output.print("{}\n", line);
}

}  // namespace

void printDeliveryTable(const DeliveryReport& report, std::size_t limit, Output& output) {
    output.print("delivery {}: {}\n", printable(report.now.name), summaryOf(report.now));
    if (report.before) output.print("previous {}: {}\n", printable(report.before->name), summaryOf(*report.before));
    printRows(groupRows(report), output);
    if (report.counts.empty()) output.write("\nno findings\n");
    printRows(findingRows(report), output);
    printLines(findingLines(report, limit), output);
    printLines(changeLines(report, limit), output);
    printRows(ageRows(report), output);
    printLines(ageNotes(report), output);
}

}  // namespace vorlandi::cli
