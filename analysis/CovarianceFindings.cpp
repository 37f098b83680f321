#include "analysis/CovarianceFindings.hpp"

#include <algorithm>
#include <string>

#include "analysis/Covariances.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kLargestSigma_m = 1e6;
constexpr double kLeastSigma_m = 1e-6;

class CovarianceFindings {
public:
    CovarianceFindings(const Ephemeris& ephemeris, const CovariancesBetween& between, SatelliteCheck& check)
        : ephemeris_(ephemeris), between_(between), check_(check) {}

    void find() {
        const auto& covariances = ephemeris_.covariances;
        check_.covariances =
            static_cast<std::size_t>(std::count_if(covariances.begin(), covariances.end(), isCovariance));
        if (check_.covariances == 0) return;
        const auto [serious, negligible] = poorCovariances(covariances);
        for (const auto& [first, last, eigenvalue] : serious)
            addBetween(first, last, notPositive(Severity::Error, last - first + 1, eigenvalue));
        for (const auto& [first, last, eigenvalue] : negligible)
            addBetween(first, last, notPositive(Severity::Note, last - first + 1, eigenvalue));
        if (check_.covariances < covariances.size())
            addOverall({Severity::Note, Kind::CovarianceMissing,
                        countText(covariances.size() - check_.covariances, "point") + " of " +
                            std::to_string(covariances.size()) + " without a covariance",
                        static_cast<double>(covariances.size() - check_.covariances)});
        checkSigmas();
        if (between_) checkCovariancesBetween(serious);
    }

private:
    void addBetween(std::size_t first, std::size_t last, Finding finding) {
        finding.from = ephemeris_.times[first];
        finding.to = ephemeris_.times[last];
        check_.findings.push_back(std::move(finding));
    }
    void addOverall(Finding finding) { addBetween(0, ephemeris_.size() - 1, std::move(finding)); }

    static Finding notPositive(Severity severity, std::size_t points, double eigenvalue) {
        return {severity, Kind::CovarianceNotPositive,
                countText(points, "covariance") +
                    " not positive: scaled to a diagonal of ones, the smallest "
                    "eigenvalue is " +
                    roundedText(eigenvalue),
                eigenvalue};
    }

    void checkSigmas() {
        const auto sigmas = positionSigmas(ephemeris_.covariances);
        if (!sigmas) return;
        const bool isLarge = sigmas->largest_m > kLargestSigma_m;
        if (!isLarge && !(sigmas->least_m < kLeastSigma_m)) return;
        const double sigma_m = isLarge ? sigmas->largest_m : sigmas->least_m;
        addOverall({Severity::Warning, Kind::CovarianceSize,
                    std::string("the ") + (isLarge ? "largest" : "smallest") + " sigma of a position is " +
                        lengthText(sigma_m) + ": another unit than km^2?",
                    sigma_m, "m"});
    }

    // Missing covariances enter the interpolation as zeros.
    void leaveOutUnknown(std::vector<Matrix6>& between) const {
        if (ephemeris_.size() < kWindow) return;
        const auto isKnown = [this](std::size_t point) { return isCovariance(ephemeris_.covariances[point]); };
        for (std::size_t i = 0; i < between.size(); ++i) {
            const std::size_t first = windowOf(i, ephemeris_.size());
            for (std::size_t point = first; point < first + kWindow; ++point)
                if (!isKnown(point)) between[i] = {};
        }
    }

    // Interpolated matrices near stored ones that are already bad are not reported: they can't be better.
    void checkCovariancesBetween(const std::vector<PoorCovariances>& stored) {
        std::vector<Matrix6> between = between_();
        leaveOutUnknown(between);
        const auto [serious, negligible] = poorCovariances(between);
        for (const auto& [first, last, eigenvalue] : serious) {
            const auto touches = [first = first, last = last](const PoorCovariances& stretch) {
                return stretch.first <= last + kWindow && first <= stretch.last + kWindow;
            };
            if (std::any_of(stored.begin(), stored.end(), touches)) continue;
            addBetween(first, last + 1,
                       {Severity::Warning, Kind::CovarianceBetween,
                        "covariances in the middle of " + countText(last - first + 1, "interval") +
                            " are not positive: scaled to a diagonal of ones, the smallest eigenvalue is " +
                            roundedText(eigenvalue),
                        eigenvalue});
        }
    }

    const Ephemeris& ephemeris_;
    const CovariancesBetween& between_;
    SatelliteCheck& check_;
};

}  // namespace

void findInCovariances(const Ephemeris& ephemeris, const CovariancesBetween& between, SatelliteCheck& check) {
    CovarianceFindings(ephemeris, between, check).find();
}

}  // namespace vorlandi::analysis
