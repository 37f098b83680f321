// Writes the comparisons of the command `diff` in one of the output formats, one pair after another, keeping none.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Options.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"
#include "Spacing.hpp"
#include "analysis/Comparison.hpp"

namespace vorlandi::cli {

// Where a record is interpolated across gaps between its points.
struct GapsOfRecord {
    Gaps gaps;
    std::size_t count;  // in the common span

    // Compared times inside these gaps.
    std::size_t timesOf(const analysis::Comparison& comparison) const {
        if (count == 0) return 0;
        return static_cast<std::size_t>(
            std::count_if(comparison.differences.begin(), comparison.differences.end(),
                          [&](const analysis::Difference& difference) { return gaps.contains(difference.time.days); }));
    }
};

struct ComparedPair {
    const RecordOfFile& a;
    const RecordOfFile& b;
    Span span;  // common to both, within the requested range
    analysis::Comparison comparison;
    GapsOfRecord gapsOfA;
    GapsOfRecord gapsOfB;
};

class DiffWriter {
public:
    virtual ~DiffWriter() = default;

    virtual void pair(const ComparedPair& pair) = 0;

    // After the last pair, with the satellites of A that have no partner.
    virtual void finish(const std::vector<RecordOfFile>& /*withoutPartner*/) {}
};

struct DiffStyle {
    Format format = Format::Table;
    bool each = false;  // every time, not only the statistics
    std::optional<double> tolerance_m;
};

std::unique_ptr<DiffWriter> makeDiffWriter(const DiffStyle& style, Output& output);

// The writers of the three formats.
std::unique_ptr<DiffWriter> makeDiffTable(bool each, Output& output);
std::unique_ptr<DiffWriter> makeDiffCsv(bool each, Output& output);
std::unique_ptr<DiffWriter> makeDiffJson(bool each, std::optional<double> tolerance_m, Output& output);

}  // namespace vorlandi::cli
