#include "Conversion.hpp"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <numbers>
#include <optional>
#include <set>

#include "Options.hpp"
#include "Output.hpp"
#include "Selection.hpp"
#include "TimeGrid.hpp"
#include "analysis/Texts.hpp"
#include "writers/FormatOptions.hpp"
#include "writers/Times.hpp"

namespace vorlandi::cli {
namespace {

namespace fs = std::filesystem;
using writers::CovariancesKept;
using writers::NameHolds;
using writers::Target;
using writers::TimesKept;

constexpr std::size_t kManyForViewers = 1000;

bool isCzml(const Target& target) { return target.write == writers::writeCzml; }

// A file of the target format. It is complete once it is closed.
class TargetFile {
public:
    TargetFile(const std::string& name, const ConversionRequest& request, const writers::Options& options)
        : target_(*request.target),
          options_(options),
          output_(name),
          lines_([this](std::string_view piece) { output_.write(piece); }, writers::Style::Exact) {
        if (target_.begin) target_.begin(options_, lines_);
    }

    void add(const writers::Ephemeris& ephemeris) { target_.write(ephemeris, options_, lines_); }

    void close() {
        if (target_.end) target_.end(options_, lines_);
        lines_.handOn();
        output_.close();
    }

private:
    const Target& target_;
    writers::Options options_;
    Output output_;
    writers::Lines lines_;
};

// Printable ASCII.
std::string plain(std::string text) {
    if (text.size() > writers::kLongestText) text.resize(writers::kLongestText);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return text;
}

// Says what the file was made of.
void addComments(writers::Options& options, const std::set<std::string>& files) {
    constexpr std::size_t kMostFiles = 20;
    options.comments = {fmt::format("Converted by {} from", version())};
    for (const std::string& file : files) {
        if (options.comments.size() > kMostFiles) {
            options.comments.push_back(
                fmt::format("and {}", analysis::countText(files.size() - kMostFiles, "more file")));
            break;
        }
        options.comments.push_back(plain(file));
    }
}

class Conversion {
public:
    Conversion(const ConversionRequest& request, const std::vector<NumberedSatellite>& satellites, Console& console)
        : request_(request), target_(*request.target), satellites_(satellites), console_(console) {}

    bool run() {
        if (request_.directory.empty() && mayWrite(request_.output)) {
            runIntoOneFile();
        } else if (!request_.directory.empty()) {
            std::error_code error;
            for (const NumberedSatellite& one : satellites_)
                inputs_.insert(fs::weakly_canonical(one.satellite.file, error));
            for (std::size_t i = 0; i < satellites_.size(); ++i) {
                showProgress(i);
                writeOwnFile(satellites_[i]);
            }
        }
        console_.clearProgress();
        return !failed_;
    }

private:
    void showProgress(std::size_t i) {
        if (satellites_.size() > 1) console_.progress(fmt::format("writing {} of {}", i + 1, satellites_.size()));
    }

    void fail(const std::string& subject, const std::string& text) {
        console_.error(subject, text);
        failed_ = true;
    }

    static std::string nameOf(const SatelliteRecord& satellite) {
        return fmt::format("satellite {} ({})", satellite.number, satellite.file);
    }

    // False, with a message, if there is a file that must stay.
    bool mayWrite(const std::string& name) {
        std::error_code error;
        if (request_.force || name == kStandardOutput || !fs::is_regular_file(name, error)) return true;
        fail(name, existsText(request_.names.force));
        return false;
    }

    void runIntoOneFile() {
        writers::Options options = request_.options;
        std::set<std::string> files;
        std::vector<const NumberedSatellite*> written;
        std::optional<writers::Ephemeris> only;
        for (std::size_t i = 0; i < satellites_.size(); ++i) {
            showProgress(i);
            auto ephemeris = accepted(satellites_[i]);
            if (!ephemeris) continue;
            warnOfName(*ephemeris);
            extend(options, *ephemeris, written.empty());
            files.insert(satellites_[i].satellite.file);
            written.push_back(&satellites_[i]);
            if (satellites_.size() == 1) only = std::move(ephemeris);
        }
        if (written.empty()) {
            reportNothingToWrite(request_.output == kStandardOutput ? "" : request_.output, console_);
            failed_ = true;
            return;
        }
        addComments(options, files);
        if (isCzml(target_) && written.size() > kManyForViewers)
            console_.warning("", fmt::format("viewers stall with {} satellites", written.size()));
        TargetFile file(request_.output, request_, options);
        for (std::size_t i = 0; i < written.size(); ++i) {
            showProgress(i);
            // The header is ready only now; the points of all satellites at once could take too much memory.
            writers::Ephemeris ephemeris = only ? *std::exchange(only, std::nullopt) : extracted(*written[i]).ephemeris;
            while (!identities_.insert({ephemeris.number, ephemeris.record}).second)
                ++ephemeris.record;
            file.add(ephemeris);
        }
        file.close();
    }

    // The time of all satellites, for formats that begin with it.
    static void extend(writers::Options& options, const writers::Ephemeris& ephemeris, bool isFirst) {
        const double first = ephemeris.times.front();
        const double last = ephemeris.times.back();
        options.first = isFirst ? first : std::min(options.first, first);
        options.last = isFirst ? last : std::max(options.last, last);
    }

    void writeOwnFile(const NumberedSatellite& one) {
        const auto ephemeris = accepted(one);
        if (!ephemeris) return;
        const std::string name = (fs::path(request_.directory) / writers::fileName(target_, *ephemeris)).string();
        if (!written_.insert(name).second)
            return fail(nameOf(one.satellite),
                        fmt::format("not written: {} has been written from another satellite of this number", name));
        if (!mayWrite(name)) return;
        std::error_code error;
        if (inputs_.contains(fs::weakly_canonical(name, error)))
            return fail(name, "is an input file and would be overwritten");
        if (fs::create_directory(request_.directory, error)) console_.note(request_.directory, "new directory");
        if (error) throw OutputError(request_.directory, error.value());
        writers::Options options = request_.options;
        addComments(options, {one.satellite.file});
        extend(options, *ephemeris, true);
        TargetFile file(name, request_, options);
        file.add(*ephemeris);
        file.close();
    }

    Extraction extracted(const NumberedSatellite& one) const {
        Extraction extraction = extract(one.satellite, request_.extraction);
        extraction.ephemeris.record = one.record;
        return extraction;
    }

    // The points to be written; none, with a message, if the target can't hold them.
    std::optional<writers::Ephemeris> accepted(const NumberedSatellite& one) {
        Extraction extraction = extracted(one);
        writers::Ephemeris& ephemeris = extraction.ephemeris;
        const std::string subject = nameOf(one.satellite);
        if (ephemeris.times.empty())
            return refuse(subject, request_.extraction.step_s ? "it has no states at these times"
                                                              : "it has no points at these times");
        if (const auto problem = writers::problemOf(target_, ephemeris, request_.options); !problem.empty())
            return refuse(subject, problem);
        if (!acceptsRounding(subject, ephemeris)) return std::nullopt;
        reportLosses(subject, extraction, one.satellite.tag);
        reportGaps(one, extraction);
        if (isCzml(target_) && ephemeris.frame == writers::Frame::Eci) warnOfDate(subject, ephemeris);
        return std::move(ephemeris);
    }

    std::nullopt_t refuse(const std::string& subject, const std::string& reason) {
        fail(subject, "not written: " + reason);
        return std::nullopt;
    }

    bool acceptsRounding(const std::string& subject, const writers::Ephemeris& ephemeris) {
        const writers::TimeRounding rounding = writers::roundingOf(target_, ephemeris);
        const bool isSince1970 = target_.times == TimesKept::ExactlySince1970;
        if (rounding.joinsPoints) {
            refuse(subject, fmt::format("two of its points {}, and {} files keep no more",
                                        isSince1970 ? "have the same time once it is counted from 1970"
                                                    : "are in the same millisecond",
                                        target_.name));
            return false;
        }
        if (rounding.count == 0) return true;
        if (!request_.roundTimes) {
            refuse(subject,
                   fmt::format("{} of its {} {}, the first {}; {} files keep no more; {} rounds them", rounding.count,
                               analysis::countText(ephemeris.times.size(), "time"),
                               isSince1970 ? "can't be counted from 1970 with all digits"
                                           : analysis::isOrAre(rounding.count) + std::string(" not whole milliseconds"),
                               writers::exactIsoText(rounding.firstTime), target_.name, request_.names.roundTimes));
            return false;
        }
        console_.warning(
            subject, fmt::format("{} rounded{}, by up to {:.{}f} us, {:.3f} m along the track",
                                 analysis::countIsText(rounding.count, "time"), isSince1970 ? "" : " to milliseconds",
                                 rounding.largest_s * 1e6, isSince1970 ? 3 : 1, rounding.largest_m));
        return true;
    }

    void reportLosses(const std::string& subject, const Extraction& extraction, const std::string& tag) {
        if (extraction.hasCovariances && !request_.extraction.withCovariances)
            console_.information(
                subject, target_.covariances == CovariancesKept::OnRequest
                             ? fmt::format("its covariances are left out; {} writes them", request_.names.covariances)
                             : "its covariances are left out");
        if (!tag.empty()) console_.information(subject, fmt::format("its tag is left out: {}", tag));
        if (extraction.hasRevolutions) console_.information(subject, "its revolution numbers are left out");
    }

    void reportGaps(const NumberedSatellite& one, const Extraction& extraction) {
        const std::string subject = nameOf(one.satellite);
        const auto& inGaps = extraction.inGaps;
        if (inGaps.count > 0)
            console_.warning(subject, fmt::format("{} in gaps between its points and left out, the first {}",
                                                  analysis::countIsText(inGaps.count, "time"), isoTime(inGaps.first)));
        if (const auto& unanswered = extraction.unanswered; unanswered.count > 0) {
            one.satellite.satellite.try_state({unanswered.first});  // a batch logs only its first failure
            fail(subject,
                 fmt::format("{} without a state and left out, the first {}: {}",
                             analysis::countIsText(unanswered.count, "time"), isoTime(unanswered.first), last_error()));
        }
        const std::size_t segments = extraction.ephemeris.segments.size();
        if (segments > 1 && !target_.holdsSeveral)
            console_.warning(subject, fmt::format("{} between its points {} not marked in {} files, whose readers may "
                                                  "interpolate across",
                                                  analysis::countText(segments - 1, "gap"),
                                                  analysis::isOrAre(segments - 1), target_.name));
    }

    // Viewers take the axes for J2000; they are of date.
    void warnOfDate(const std::string& subject, const writers::Ephemeris& ephemeris) {
        constexpr double kDegreesAYear = 0.014;
        constexpr double kDay2000 = 18263.0;  // 2000-01-01
        constexpr double kDaysAYear = 365.25;
        const double degrees = std::abs(ephemeris.times.front() - kDay2000) / kDaysAYear * kDegreesAYear;
        const auto& [x, y, z] = ephemeris.states.front().position_km;
        const double off_km = degrees * std::numbers::pi / 180.0 * std::hypot(x, y, z);
        console_.warning(subject,
                         fmt::format("ECI is shown as J2000, which turns it by about {:.2f} degrees, {} km", degrees,
                                     off_km < 1e6 ? fmt::format("{:.0f}", off_km) : analysis::roundedText(off_km)));
    }

    // From the names of some files, readers take what the content doesn't say.
    void warnOfName(const writers::Ephemeris& ephemeris) {
        const std::string name = fs::path(request_.output).filename().string();
        const std::string meant = writers::fileName(target_, ephemeris);
        const std::string number = fmt::to_string(ephemeris.number);
        bool isRead = true;
        if (target_.nameHolds == NameHolds::Suffix) {
            std::string suffix = fs::path(name).extension().string();
            std::ranges::transform(suffix, suffix.begin(),
                                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
            isRead = suffix == target_.suffix;
        } else if (target_.nameHolds == NameHolds::Number) {
            const std::size_t digits = std::min(name.find_first_not_of("0123456789"), name.size());
            isRead = digits > 0 && digits <= 9 && std::stol(name.substr(0, digits)) == ephemeris.number;
        } else if (target_.nameHolds == NameHolds::FrameAndNumber) {
            isRead = name.starts_with(meant.substr(0, meant.find('_', meant.find('_') + 1) + 1));
        }
        if (isRead) return;
        const std::string text =
            fmt::format("readers take {} from the name of the file; {} is one that they understand",
                        target_.nameHolds == NameHolds::Suffix   ? "the format"
                        : target_.nameHolds == NameHolds::Number ? "the number of the satellite"
                                                                 : "frame and number of the satellite",
                        meant);
        if (request_.output == kStandardOutput)
            console_.information("", text);
        else
            console_.warning(request_.output, text);
    }

    const ConversionRequest& request_;
    const Target& target_;
    const std::vector<NumberedSatellite>& satellites_;
    Console& console_;
    std::set<fs::path> inputs_;
    std::set<std::string> written_;
    std::set<std::pair<std::int32_t, std::int32_t>>
        identities_;  // numbers and records of a file, which keeps them apart
    bool failed_ = false;
};

}  // namespace

double mostTimes(const ConversionRequest& request, const std::vector<NumberedSatellite>& satellites) {
    const auto& range = request.extraction.range;
    const auto& step_s = request.extraction.step_s;
    double most = 0.0;
    if (step_s)
        for (const NumberedSatellite& one : satellites) {
            const auto& [from, to] = one.satellite.span;
            const double days = std::min(range.to.value_or(to), to) - std::max(range.from.value_or(from), from);
            most = std::max(most, timesIn(days, *step_s));
        }
    return most;
}

bool convert(const ConversionRequest& request, const std::vector<NumberedSatellite>& satellites, Console& console) {
    return Conversion(request, satellites, console).run();
}

}  // namespace vorlandi::cli
