#include "TextTable.hpp"

#include <algorithm>

#include "ForeignTexts.hpp"

namespace vorlandi::cli {

TextTable::TextTable(std::vector<Align> alignments, Row titles)
    : alignments_(std::move(alignments)), widths_(alignments_.size()) {
    addRow(std::move(titles));
}

void TextTable::addRow(Row row) {
    for (std::size_t i = 0; i < row.size(); ++i) {
        row[i] = printable(row[i]);
        widths_[i] = std::max(widths_[i], displayWidth(row[i]));
    }
    rows_.push_back(std::move(row));
}

std::string TextTable::text() const {
    std::string text;
    for (const Row& row : rows_)
        text += lineOf(row) + '\n';
    return text;
}

std::string TextTable::lineOf(const Row& row) const {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const std::string blanks(widths_[i] - displayWidth(row[i]), ' ');
        if (i > 0) line += "  ";
        line += alignments_[i] == Align::Right ? blanks + row[i] : row[i] + blanks;
    }
    return line.substr(0, line.find_last_not_of(' ') + 1);
}

}  // namespace vorlandi::cli
