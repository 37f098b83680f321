#include "DiffWriter.hpp"
#include "Values.hpp"

namespace vorlandi::cli {
namespace {

using analysis::kQuantityNames;

// A line for every time.
class EachCsv : public DiffWriter {
public:
    explicit EachCsv(Output& output) : output_(output) {
        output_.print("satellite,record_a,record_b,time_utc,{},normalized\n", fmt::join(kQuantityNames, ","));
    }

    void pair(const ComparedPair& pair) override {
        const auto head = fmt::format("{},{},{}", pair.a.record.number, pair.a.inFile, pair.b.inFile);
        for (const analysis::Difference& difference : pair.comparison.differences) {
            output_.print("{},{}", head, isoTime(difference.time.days));
            for (const double value : difference.values)
                output_.print(",{}", csvNumber(value));
            output_.print(",{}\n", csvNumber(difference.normalized));
        }
    }

private:
    Output& output_;
};

// A line for every pair.
class PairCsv : public DiffWriter {
public:
    explicit PairCsv(Output& output) : output_(output) {
        output_.write(
            "satellite,satellite_b,file_a,file_b,record_a,record_b,frame,frame_b,first_utc,last_utc,compared,"
            "unanswered");
        for (const char* const name : kQuantityNames)
            output_.print(",{0}_mean,{0}_rms,{0}_largest,{0}_largest_utc", name);
        output_.write(
            ",normalized_median,normalized_largest,normalized_largest_utc,normalized_share_above,time_offset_s,"
            "time_offset_meaning,time_offset_rms_m,rotation_deg,rotation_meaning,rotation_rms_m\n");
    }

    void pair(const ComparedPair& pair) override {
        const SatelliteRecord& a = pair.a.record;
        const SatelliteRecord& b = pair.b.record;
        output_.print("{},{},{},{},{},{},{},{},{},{},{},{}", a.number, b.number, csvField(a.file), csvField(b.file),
                      pair.a.inFile, pair.b.inFile, csvField(name(a.frame)), csvField(name(b.frame)),
                      csvTime(pair.span.first), csvTime(pair.span.last), pair.comparison.differences.size(),
                      pair.comparison.unanswered);
        for (std::size_t i = 0; i < kQuantityNames.size(); ++i) {
            const auto [mean, rms, largest, when] = pair.comparison.statistics(static_cast<analysis::Quantity>(i));
            output_.print(",{},{},{},{}", csvNumber(mean), csvNumber(rms), csvNumber(largest), csvTime(when));
        }
        if (const auto normalized = pair.comparison.normalized())
            output_.print(",{},{},{},{}", csvNumber(normalized->median), csvNumber(normalized->largest),
                          csvTime(normalized->when), csvNumber(normalized->shareAbove));
        else
            output_.write(",,,,");
        const auto& [differences, unanswered, offset, rotation] = pair.comparison;
        offset ? explanation(offset->seconds, offset->meaning, offset->rms) : output_.write(",,,");
        rotation ? explanation(rotation->degrees, rotation->meaning, rotation->rms) : output_.write(",,,");
        output_.write("\n");
    }

private:
    void explanation(double value, const char* meaning, const analysis::Explained& rms) {
        output_.print(",{},{},{}", csvNumber(value), csvField(meaning ? meaning : ""), csvNumber(rms.after_m));
    }

    Output& output_;
};

}  // namespace

std::unique_ptr<DiffWriter> makeDiffCsv(bool each, Output& output) {
    if (each) return std::make_unique<EachCsv>(output);
    return std::make_unique<PairCsv>(output);
}

}  // namespace vorlandi::cli
