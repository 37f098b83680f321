#include "analysis/Approaches.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <map>
#include <thread>
#include <tuple>

#include "analysis/ApproachFleet.hpp"
#include "analysis/ApproachSamples.hpp"
#include "analysis/ApproachSearch.hpp"
#include "analysis/FramePairs.hpp"

namespace vorlandi::analysis {
namespace {

// Each thread takes the next sample.
void searchFleet(const Fleet& fleet, const ApproachOptions& options, std::vector<Approach>& events) {
    const std::vector<Span> shared = sharedSpans(fleet.members);
    if (shared.empty()) return;
    const ApproachSamples samples(shared, options.step_s);
    const std::size_t workers = std::clamp<std::size_t>(options.threads, 1, samples.count());
    std::atomic<std::size_t> next = 0;
    std::vector<std::vector<Approach>> found(workers);
    std::vector<std::exception_ptr> failures(workers);
    const auto work = [&](std::size_t worker) {
        try {
            ApproachSearch search(fleet, samples, options);
            for (std::size_t k; (k = next++) < samples.count();) {
                search.examine(k, found[worker]);
                if (worker == 0 && options.progress)
                    options.progress(static_cast<double>(k + 1) / static_cast<double>(samples.count()));
            }
        } catch (...) {
            failures[worker] = std::current_exception();
        }
    };
    {
        std::vector<std::jthread> threads;
        for (std::size_t worker = 1; worker < workers; ++worker)
            threads.emplace_back(work, worker);
        work(0);
    }
    for (std::size_t worker = 0; worker < workers; ++worker) {
        if (failures[worker]) std::rethrow_exception(failures[worker]);
        events.insert(events.end(), found[worker].begin(), found[worker].end());
    }
}

}  // namespace

Approaches findApproaches(std::span<const Satellite> satellites, const ApproachOptions& options) {
    Approaches result;
    result.answered.resize(satellites.size());
    std::map<Frame, Fleet> fleets;
    FramePairs pairs;
    FramePairs unwantedPairs;
    for (std::size_t i = 0; i < satellites.size(); ++i) {
        const Satellite satellite = satellites[i];
        const Fields fields = satellite.fields();
        const Motion motion = motionOf(fields.frame);
        std::vector<Piece> pieces = piecesOf(satellite, motion, options.range);
        result.answered[i] = answeredShare(satellite, pieces, options.range);
        if (motion == Motion::Unknown) {
            result.inUnknownFrames.push_back(i);
            continue;
        }
        if (!pieces.empty() && !hasVelocities(satellite)) result.withoutVelocities.push_back(i);
        const std::int32_t number = options.numbers.empty() ? fields.number : options.numbers[i];
        const bool isWanted =
            options.only.empty() || std::find(options.only.begin(), options.only.end(), number) != options.only.end();
        pairs.add(number, fields.frame);
        if (!isWanted) unwantedPairs.add(number, fields.frame);
        Fleet& fleet = fleets[fields.frame];
        fleet.motion = motion;
        fleet.members.push_back({i, satellite, number, isWanted, std::move(pieces)});
    }
    result.pairsAcrossFrames = pairs.countAcross(options.sameNumber) - unwantedPairs.countAcross(options.sameNumber);
    if (!options.sameNumber) result.pairsOfSameNumber = pairs.countOfSameNumber() - unwantedPairs.countOfSameNumber();
    for (const auto& [frame, fleet] : fleets) {
        result.anyCompared = result.anyCompared || anyCompared(fleet, options.sameNumber);
        searchFleet(fleet, options, result.events);
    }
    std::sort(result.events.begin(), result.events.end(), [](const Approach& x, const Approach& y) {
        return std::tie(x.time, x.a, x.b) < std::tie(y.time, y.a, y.b);
    });
    return result;
}

}  // namespace vorlandi::analysis
