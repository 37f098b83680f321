#include "DeliveryReport.hpp"
#include "ForeignTexts.hpp"
#include "Values.hpp"

namespace vorlandi::cli {
namespace {

using analysis::AgeDifference;
using analysis::AgeStatistics;
using analysis::Finding;
using analysis::Severity;

constexpr std::array<const char*, 4> kDifferenceNames{"radial", "in_track", "cross_track", "distance"};

class DeliveryJson {
public:
    DeliveryJson(const DeliveryReport& report, Output& output) : report_(report), output_(output) {
        differences_.resize(report.now.satellites.size());
        for (std::size_t i = 0; i < report.compared.size(); ++i)
            differences_[report.compared[i].now] = i;
    }

    void print() {
        output_.print(R"({{"schema":"vorlandi.delivery/1","delivery":{},"previous":{},"tolerance_m":{},"satellites":)",
                      jsonText(report_.now.name), report_.before ? jsonText(report_.before->name) : "null",
                      report_.tolerance_m);
        printJsonArray(report_.now.satellites, output_, [this](const CheckedSatellite& each) { satellite(each); });
        output_.write(",\"files\":");
        printJsonArray(report_.now.files, output_, [this](const CheckedFile& file) {
            output_.print(R"({{"file":{},"status":{},)", jsonText(file.name), file.status);
            findings(file.findings, report_.isNewInFile[indexOf(file, report_.now.files)]);
            output_.write("}");
        });
        output_.write(",\"counts\":");
        printJsonArray(report_.counts, output_, [this](const FindingCount& each) { count(each); });
        output_.write(",\"changes\":");
        printJsonArray(report_.changes, output_, [this](const Change& change) {
            output_.print(R"({{"severity":"{}","kind":"{}","satellite":{},"record":{},"file":{},"text":{}}})",
                          nameOf(severityOf(change.kind)), nameOf(change.kind), change.record.record.number,
                          change.record.inFile, jsonText(change.record.record.file), jsonText(change.text));
        });
        output_.write(",\"ages\":");
        printJsonArray(report_.ages, output_, [this](const AgeStatistics& each) { age(each); });
        output_.print(",\"errors\":{},\"warnings\":{},\"notes\":{}}}\n", report_.count(Severity::Error),
                      report_.count(Severity::Warning), report_.count(Severity::Note));
    }

private:
    template <typename Item>
    static std::size_t indexOf(const Item& item, const std::vector<Item>& items) {
        return static_cast<std::size_t>(&item - items.data());
    }

    void satellite(const CheckedSatellite& satellite) {
        const std::size_t index = indexOf(satellite, report_.now.satellites);
        const auto timeOf = [&](double ds50UTC) {
            return jsonTime(satellite.points > 0 ? std::optional(Ds50{ds50UTC}) : std::nullopt);
        };
        output_.print(R"({{"satellite":{},"record":{},"file":{},"format":{},"frame":{},"points":{},)",
                      satellite.record.number, satellite.inFile, jsonText(satellite.record.file),
                      jsonText(satellite.format), jsonText(name(satellite.record.frame)), satellite.points);
        output_.print(R"("first_utc":{},"last_utc":{},)", timeOf(satellite.span.start), timeOf(satellite.span.end));
        if (const auto& spacing = satellite.check.spacing)
            output_.print(R"("spacing_s":{{"least":{},"median":{},"largest":{}}},)", jsonNumber(spacing->least_s),
                          jsonNumber(spacing->median_s), jsonNumber(spacing->largest_s));
        else
            output_.write(R"("spacing_s":null,)");
        output_.print(R"("covariances":{},"difference":)", satellite.check.covariances);
        if (differences_[index])
            difference(*differences_[index]);
        else
            output_.write("null");
        output_.write(",");
        findings(satellite.check.findings, report_.isNewInSatellite[index]);
        output_.write("}");
    }

    void difference(std::size_t index) {
        const ComparedRecords& compared = report_.compared[index];
        const CheckedSatellite& before = report_.before->satellites[compared.before];
        const analysis::PredictionDifference& difference = report_.differences[index];
        output_.print(R"({{"file":{},"record":{},"first_utc":{},"last_utc":{},"unanswered":{},)"
                      R"("in_gaps":{},"same":{},"left_out":{},"ages":)",
                      jsonText(before.record.file), before.inFile, jsonTime(compared.span.first),
                      jsonTime(compared.span.last), difference.unanswered, difference.inGaps, difference.isSame,
                      difference.isLeftOut);
        printJsonArray(difference.ages, output_, [this](const AgeDifference& age) {
            output_.print(R"({{"age_days":{},"times":{},)", age.age_days, age.times);
            rms(age.meanSquares_m2, "m");
            output_.print(R"("largest_m":{},"largest_utc":{},)", jsonNumber(age.largest_m), jsonTime(age.when));
            rms(age.meanSquares_sigma2, "sigmas");
            output_.print(R"("normalized_times":{},"mean_squared_distance":{}}})", age.normalizedTimes,
                          jsonNumber(age.meanSquaredDistance));
        });
        output_.write("}");
    }

    template <std::size_t Size>
    void rms(const std::array<double, Size>& squares, std::string_view unit) {
        for (std::size_t k = 0; k < Size; ++k)
            output_.print(R"("{}_{}":{},)", kDifferenceNames[k], unit, jsonNumber(std::sqrt(squares[k])));
    }

    void findings(const std::vector<Finding>& findings, const std::vector<bool>& isNew) {
        output_.write("\"findings\":");
        printJsonArray(findings, output_, [&](const Finding& finding) {
            std::string text = jsonOf(finding);
            text.pop_back();
            const std::size_t index = indexOf(finding, findings);
            output_.print("{},\"new\":{}}}", text, index >= isNew.size() ? "null" : isNew[index] ? "true" : "false");
        });
    }

    void count(const FindingCount& count) {
        output_.print(R"({{"severity":"{}","kind":"{}","findings":{},"subjects":{},)", nameOf(count.severity),
                      nameOf(count.kind), count.findings, count.subjects);
        if (report_.before)
            output_.print(R"("new":{},"unchanged":{},"gone":{}}})", count.added, count.findings - count.added,
                          count.gone);
        else
            output_.write(R"("new":null,"unchanged":null,"gone":null})");
    }

    void age(const AgeStatistics& age) {
        output_.print(R"({{"age_days":{},"satellites":{},"times":{},)", age.age_days, age.satellites, age.times);
        for (std::size_t k = 0; k < age.rms_m.size(); ++k)
            output_.print(R"("{}_m":{},)", kDifferenceNames[k], jsonNumber(age.rms_m[k]));
        output_.print(R"("largest_m":{},"largest_of":{},)", jsonNumber(age.largest_m),
                      report_.satelliteOf(age.largestOf).record.number);
        for (std::size_t k = 0; k < age.rms_sigma.size(); ++k)
            output_.print(R"("{}_sigmas":{},)", kDifferenceNames[k], jsonNumber(age.rms_sigma[k]));
        output_.print(R"("normalized_satellites":{},"set_aside":{},"factor":{},"covariances":{}}})",
                      age.normalizedSatellites, age.setAside.size(), jsonNumber(age.factor),
                      nameOf(age.honesty).empty() ? "null" : jsonText(nameOf(age.honesty)));
    }

    const DeliveryReport& report_;
    Output& output_;
    std::vector<std::optional<std::size_t>> differences_;  // by satellite
};

}  // namespace

void printDeliveryJson(const DeliveryReport& report, Output& output) { DeliveryJson(report, output).print(); }

}  // namespace vorlandi::cli
