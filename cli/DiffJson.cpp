#include "DiffWriter.hpp"
#include "Values.hpp"

namespace vorlandi::cli {
namespace {

using analysis::kQuantityNames;

std::string meaningOf(const char* meaning) { return meaning ? jsonText(meaning) : "null"; }

class DiffJson : public DiffWriter {
public:
    DiffJson(bool each, std::optional<double> tolerance_m, Output& output) : each_(each), output_(output) {
        output_.print("{{\"schema\":\"vorlandi.diff/1\",\"tolerance_m\":{},\"pairs\":[", jsonNumber(tolerance_m));
    }

    void pair(const ComparedPair& pair) override {
        const SatelliteRecord& a = pair.a.record;
        const SatelliteRecord& b = pair.b.record;
        output_.write(std::exchange(separator_, ",\n"));
        output_.print(R"({{"satellite":{},"satellite_b":{},"file_a":{},"file_b":{},"record_a":{},"record_b":{},)",
                      a.number, b.number, jsonText(a.file), jsonText(b.file), pair.a.inFile, pair.b.inFile);
        output_.print(R"("frame":{},"frame_b":{},"first_utc":{},"last_utc":{},"compared":{},"unanswered":{},)",
                      jsonText(name(a.frame)), jsonText(name(b.frame)), jsonTime(pair.span.first),
                      jsonTime(pair.span.last), pair.comparison.differences.size(), pair.comparison.unanswered);
        statistics(pair.comparison);
        explanations(pair.comparison);
        output_.print(R"(,"gaps_a":{},"gaps_b":{},"in_gaps_a":{},"in_gaps_b":{})", pair.gapsOfA.count,
                      pair.gapsOfB.count, pair.gapsOfA.timesOf(pair.comparison), pair.gapsOfB.timesOf(pair.comparison));
        if (each_) {
            output_.write(",\"states\":");
            printJsonArray(pair.comparison.differences, output_, [&](const auto& difference) { state(difference); });
        }
        output_.write("}");
    }

    void finish(const std::vector<RecordOfFile>& withoutPartner) override {
        output_.write("\n],\"without_partner\":");
        printJsonArray(withoutPartner, output_, [&](const RecordOfFile& a) {
            output_.print(R"({{"satellite":{},"file_a":{},"record_a":{}}})", a.record.number, jsonText(a.record.file),
                          a.inFile);
        });
        output_.write("}\n");
    }

private:
    void statistics(const analysis::Comparison& comparison) {
        const char* separator = "\"statistics\":{";
        for (std::size_t i = 0; i < kQuantityNames.size(); ++i) {
            const auto [mean, rms, largest, when] = comparison.statistics(static_cast<analysis::Quantity>(i));
            output_.print(R"({}"{}":{{"mean":{},"rms":{},"largest":{},"largest_utc":{}}})",
                          std::exchange(separator, ","), kQuantityNames[i], jsonNumber(mean), jsonNumber(rms),
                          jsonNumber(largest), jsonTime(when));
        }
        if (const auto normalized = comparison.normalized())
            output_.print(
                R"(}},"normalized":{{"count":{},"median":{},"largest":{},"largest_utc":{},"share_above":{}}})",
                normalized->count, jsonNumber(normalized->median), jsonNumber(normalized->largest),
                jsonTime(normalized->when), jsonNumber(normalized->shareAbove));
        else
            output_.write(R"(},"normalized":null)");
    }

    void explanations(const analysis::Comparison& comparison) {
        if (const auto& offset = comparison.timeOffset)
            output_.print(R"(,"time_offset":{{"seconds":{},"meaning":{},"rms_m":{}}})", jsonNumber(offset->seconds),
                          meaningOf(offset->meaning), jsonNumber(offset->rms.after_m));
        else
            output_.write(R"(,"time_offset":null)");
        if (const auto& rotation = comparison.rotation)
            output_.print(R"(,"rotation":{{"degrees":{},"axis":[{}],"meaning":{},"rms_m":{}}})",
                          jsonNumber(rotation->degrees), fmt::join(rotation->axis, ","), meaningOf(rotation->meaning),
                          jsonNumber(rotation->rms.after_m));
        else
            output_.write(R"(,"rotation":null)");
    }

    void state(const analysis::Difference& difference) {
        output_.print("{{\"time_utc\":{}", jsonTime(difference.time));
        for (std::size_t i = 0; i < kQuantityNames.size(); ++i)
            output_.print(",\"{}\":{}", kQuantityNames[i], jsonNumber(difference.values[i]));
        output_.print(",\"normalized\":{}}}", jsonNumber(difference.normalized));
    }

    bool each_;
    Output& output_;
    const char* separator_ = "\n";
};

}  // namespace

std::unique_ptr<DiffWriter> makeDiffJson(bool each, std::optional<double> tolerance_m, Output& output) {
    return std::make_unique<DiffJson>(each, tolerance_m, output);
}

}  // namespace vorlandi::cli
