// A table for people: columns as wide as their widest entry.
#pragma once

#include <string>
#include <vector>

#include "Output.hpp"

namespace vorlandi::cli {

enum class Align { Left, Right };

class TextTable {
public:
    using Row = std::vector<std::string>;

    // One alignment and one title for each column.
    TextTable(std::vector<Align> alignments, Row titles);

    void addRow(Row row);
    std::string text() const;
    void print(Output& output) const { output.write(text()); }

private:
    std::string lineOf(const Row& row) const;

    std::vector<Align> alignments_;
    std::vector<std::size_t> widths_;
    std::vector<Row> rows_;
};

}  // namespace vorlandi::cli
