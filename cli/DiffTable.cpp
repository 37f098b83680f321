#include <cmath>

#include "DiffWriter.hpp"
#include "ForeignTexts.hpp"
#include "TextTable.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

using analysis::kQuantityNames;

constexpr std::array<const char*, kQuantityNames.size()> kTitles{
    "radial (m)",    "in-track (m)",    "cross-track (m)",    "distance (m)",
    "radial (mm/s)", "in-track (mm/s)", "cross-track (mm/s)", "speed (mm/s)"};

std::string rounded(double value) { return std::isnan(value) ? "-" : analysis::roundedText(value); }

// A number in a column; "-" if there is none.
std::string inColumn(double value) { return std::isnan(value) ? "-" : fmt::format("{:.3f}", value); }

class DiffTable : public DiffWriter {
public:
    DiffTable(bool each, Output& output) : each_(each), output_(output) {}

    void pair(const ComparedPair& pair) override {
        const auto& [differences, unanswered, offset, rotation] = pair.comparison;
        output_.write(std::exchange(separator_, "\n"));
        output_.print("{} minus {}, {}\n", printable(nameOf(pair.b)), printable(nameOf(pair.a)), framesOf(pair));
        output_.print("{} to {}: {} compared, {} unanswered\n", isoTime(pair.span.first.days),
                      isoTime(pair.span.last.days), analysis::countText(differences.size(), "time"), unanswered);
        statistics(pair.comparison);
        if (const auto normalized = pair.comparison.normalized())
            output_.print(
                "normalized distance: median {}, largest {} at {}; {} % of {} are above 3.368, of which 1 % is "
                "expected\n",
                rounded(normalized->median), rounded(normalized->largest), isoTime(normalized->when.days),
                rounded(100.0 * normalized->shareAbove), normalized->count);
        if (offset) explain(*offset);
        if (rotation) explain(*rotation);
        if (each_) states(differences);
    }

private:
    static std::string framesOf(const ComparedPair& pair) {
        const std::string a = name(pair.a.record.frame);
        const std::string b = name(pair.b.record.frame);
        return a == b ? "frame " + a : fmt::format("frame {} minus {}", b, a);
    }

    void statistics(const analysis::Comparison& comparison) {
        using enum Align;
        TextTable table({Left, Right, Right, Right, Left}, {"B - A", "mean", "rms", "largest", "at (UTC)"});
        for (std::size_t i = 0; i < kTitles.size(); ++i) {
            const auto [mean, rms, largest, when] = comparison.statistics(static_cast<analysis::Quantity>(i));
            table.addRow({kTitles[i], rounded(mean), rounded(rms), rounded(largest), when ? isoTime(when->days) : "-"});
        }
        table.print(output_);
    }

    void explain(const analysis::TimeOffset& offset) {
        const bool late = offset.seconds < 0.0;
        const std::string cause =
            offset.meaning ? fmt::format(": {}{}?", offset.meaning, late ? "" : ", in A") : std::string();
        output_.print("B is {:.6f} s {}{}\n", std::abs(offset.seconds), late ? "late" : "early", cause);
        left("an offset of all times", offset.rms);
    }

    void explain(const analysis::Rotation& rotation) {
        const auto& [x, y, z] = rotation.axis;
        output_.print("B is turned by {:.6f} degrees about ({:.4f}, {:.4f}, {:.4f}){}\n", rotation.degrees, x, y, z,
                      rotation.meaning ? fmt::format(": {}?", rotation.meaning) : "");
        left("a constant rotation", rotation.rms);
    }

    void left(const char* cause, const analysis::Explained& rms) {
        output_.print("  {} leaves {} rms of {}\n", cause, analysis::lengthText(rms.after_m),
                      analysis::lengthText(rms.before_m));
    }

    void states(const std::vector<analysis::Difference>& differences) {
        output_.print("{:<26}", "time (UTC)");
        for (const char* const title : kTitles)
            output_.print("  {:>18}", title);
        output_.print("  {:>10}\n", "normalized");
        for (const analysis::Difference& difference : differences) {
            output_.print("{:<26}", isoTime(difference.time.days));
            for (const double value : difference.values)
                output_.print("  {:>18}", inColumn(value));
            output_.print("  {:>10}\n", inColumn(difference.normalized));
        }
    }

    bool each_;
    Output& output_;
    const char* separator_ = "";
};

}  // namespace

std::unique_ptr<DiffWriter> makeDiffTable(bool each, Output& output) {
    return std::make_unique<DiffTable>(each, output);
}

}  // namespace vorlandi::cli
