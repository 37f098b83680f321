#include "analysis/Approaches.hpp"

#include <Eigen/Cholesky>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <map>
#include <set>
#include <thread>

#include "analysis/ApproachSieve.hpp"
#include "analysis/Covariances.hpp"
#include "analysis/Steps.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {
namespace {

// A stretch of time in which a satellite has states, and its orbit at both ends.
struct Piece {
    Span span;
    TwoBodyOrbit atFirst;
    TwoBodyOrbit atLast;
};

struct Member {
    std::size_t index;  // among all satellites
    Satellite satellite;
    std::int32_t number;
    bool isWanted;              // all its pairs are compared; otherwise only those with a wanted one
    std::vector<Piece> pieces;  // by time
};

// The satellites of one frame.
struct Fleet {
    Motion motion;
    std::vector<Member> members;
};

// The spans in which two or more of the members have states, by time.
std::vector<Span> sharedSpans(const std::vector<Member>& members) {
    std::vector<std::pair<Ds50, int>> changes;
    for (const Member& member : members)
        for (const Piece& piece : member.pieces) {
            changes.emplace_back(piece.span.first, 1);
            changes.emplace_back(piece.span.last, -1);
        }
    std::sort(changes.begin(), changes.end());
    std::vector<Span> spans;
    int present = 0;
    for (const auto& [time, change] : changes) {
        if (present == 1 && change == 1) spans.push_back({time, time});
        if (present == 2 && change == -1) spans.back().last = time;
        present += change;
    }
    return spans;
}

// Samples are evenly spaced in TAI. Borders lie half a step around each. Only those count whose windows are in the
// spans.
class Samples {
public:
    // The spans rise; there is at least one.
    Samples(const std::vector<Span>& spans, double step_s)
        : first_days_(tai_days(spans.front().first)), step_days_(step_s / kSecondsPerDay) {
        for (const Span& span : spans) {
            // The rounding of a time may be on the other side of a border.
            const std::size_t first = std::max(numberAt(span.first, -kRounding), end_);
            const std::size_t end = numberAt(span.last, kRounding) + 1;
            if (first >= end) continue;
            stretches_.push_back({count_, first});
            count_ += end - first;
            end_ = end;
        }
    }

    std::size_t count() const noexcept { return count_; }
    Ds50 time(std::size_t i) const { return at(static_cast<double>(numberOf(i))); }
    // From the first up to, but not including, the second.
    Span window(std::size_t i) const {
        const auto k = static_cast<double>(numberOf(i));
        return {at(k - 0.5), at(k + 0.5)};
    }

private:
    static constexpr double kRounding = 1e-4;

    struct Stretch {
        std::size_t before;  // samples in earlier stretches
        std::size_t first;   // number of its first one, by the step
    };

    std::size_t numberAt(Ds50 time, double rounding) const {
        const double number = std::floor((tai_days(time) - first_days_) / step_days_ + 0.5 + rounding);
        return static_cast<std::size_t>(std::max(number, 0.0));
    }

    std::size_t numberOf(std::size_t i) const {
        const auto next = std::upper_bound(stretches_.begin(), stretches_.end(), i,
                                           [](std::size_t value, const Stretch& s) { return value < s.before; });
        return std::prev(next)->first + i - std::prev(next)->before;
    }

    Ds50 at(double steps) const { return {VorlanTimeTaiToUtc(first_days_ + steps * step_days_)}; }

    double first_days_;
    double step_days_;
    std::vector<Stretch> stretches_;
    std::size_t end_ = 0;  // the number after the last stretch
    std::size_t count_ = 0;
};

double seconds(Ds50 from, Ds50 to) { return (tai_days(to) - tai_days(from)) * kSecondsPerDay; }

std::optional<State> stateOf(const Satellite& satellite, Ds50 time) {
    const Outcome<State> outcome = satellite.try_state(time);
    if (!outcome || !positionOf(outcome.value).allFinite() || !velocityOf(outcome.value).allFinite())
        return std::nullopt;
    return outcome.value;
}

std::vector<Piece> piecesOf(const Satellite& satellite, Motion motion, const Span& range) {
    std::vector<Piece> pieces;
    for (const Span& span : answeredSpans(makeEphemeris(0, Frame::ECI, satellite.times(), {}))) {
        const Span piece{std::max(span.first, range.first), std::min(span.last, range.last)};
        if (!(piece.first < piece.last)) continue;
        const std::optional<State> first = stateOf(satellite, piece.first);
        const std::optional<State> last = stateOf(satellite, piece.last);
        if (first && last) pieces.push_back({piece, TwoBodyOrbit(*first, motion), TwoBodyOrbit(*last, motion)});
    }
    return pieces;
}

double answeredShare(const Satellite& satellite, const std::vector<Piece>& pieces, const Span& range) {
    const Outcome<Span> span = satellite.try_span();
    if (!span) return 0.0;
    const double wanted_s = seconds(std::max(span.value.first, range.first), std::min(span.value.last, range.last));
    double answered_s = 0.0;
    for (const Piece& piece : pieces)
        answered_s += seconds(piece.span.first, piece.span.last);
    return wanted_s > 0.0 ? answered_s / wanted_s : 0.0;
}

bool areComparable(const Member& a, const Member& b, bool sameNumber) {
    return (a.isWanted || b.isWanted) && (sameNumber || a.number != b.number || !isName(a.number));
}

// The search among the satellites of one frame. Each thread has its own.
class Search {
public:
    Search(const Fleet& fleet, const Samples& samples, const ApproachOptions& options)
        : fleet_(fleet), samples_(samples), options_(options), sieve_(options.within_km, options.step_s / 2.0 + 1e-5) {}

    // Finds the approaches in the window of a sample.
    void examine(std::size_t sample, std::vector<Approach>& found) {
        window_ = samples_.window(sample);
        takeSample(samples_.time(sample));
        for (const auto& [a, b] : sieve_.candidates(sample_)) {
            const Member& first = fleet_.members[a];
            const Member& second = fleet_.members[b];
            if (areComparable(first, second, options_.sameNumber)) examinePair(first, second, found);
        }
    }

private:
    // A satellite whose states begin or end near the sample is propagated along its orbit from there.
    void takeSample(Ds50 time) {
        findPresent();
        takeStates(time);
        sample_.clear();
        origins_.clear();
        for (std::size_t i = 0; i < present_.size(); ++i) {
            const auto [member, piece] = present_[i];
            State state = states_[i];
            if (codes_[i] != 0)
                state = time < piece->span.first ? piece->atFirst.at(seconds(piece->span.first, time))
                                                 : piece->atLast.at(seconds(piece->span.last, time));
            state = onInertialAxes(state, fleet_.motion);
            if (!positionOf(state).allFinite() || !velocityOf(state).allFinite()) continue;
            sample_.emplace_back(member, positionOf(state), velocityOf(state));
            origins_.push_back(i);
        }
        for (const Ds50 border : {window_.first, window_.last})
            takeDepartures(time, border);
    }

    void findPresent() {
        present_.clear();
        satellites_.clear();
        for (const Member& member : fleet_.members)
            for (const Piece& piece : member.pieces)
                if (piece.span.first < window_.last && window_.first <= piece.span.last) {
                    present_.push_back({static_cast<std::size_t>(&member - fleet_.members.data()), &piece});
                    satellites_.push_back(member.satellite);
                    break;
                }
    }

    void takeStates(Ds50 time) {
        states_.resize(satellites_.size());
        codes_.resize(satellites_.size());
        try_states(satellites_, time, states_, codes_);
    }

    // How far the states at a border of the window, or where they begin or end in it, depart from the orbits.
    void takeDepartures(Ds50 time, Ds50 border) {
        takeStates(border);
        for (std::size_t k = 0; k < sample_.size(); ++k) {
            const Piece& piece = *present_[origins_[k]].second;
            std::optional<State> state = states_[origins_[k]];
            Ds50 there = border;
            if (border < piece.span.first || piece.span.last < border) {
                there = border < piece.span.first ? piece.span.first : piece.span.last;
                state = stateOf(satellites_[origins_[k]], there);
            } else if (codes_[origins_[k]] != 0) {
                state.reset();
            }
            if (!state) continue;
            const double after_s = seconds(time, there);
            const Vector position = positionOf(onInertialAxes(*state, fleet_.motion, after_s));
            sample_[k].excess = std::max(sample_[k].excess, sample_[k].departure_km(position, after_s));
        }
    }

    void examinePair(const Member& a, const Member& b, std::vector<Approach>& found) {
        for (const Piece& ofA : a.pieces)
            for (const Piece& ofB : b.pieces) {
                const Span common{std::max(ofA.span.first, ofB.span.first), std::min(ofA.span.last, ofB.span.last)};
                if (common.first < common.last) examineCommonSpan(a, b, common, found);
            }
    }

    void examineCommonSpan(const Member& a, const Member& b, const Span& common, std::vector<Approach>& found) {
        for (const Ds50 end : {common.first, common.last})
            if (window_.first <= end && end < window_.last) describe(a, b, end, true, found);
        const Span part{std::max(common.first, window_.first), std::min(common.last, window_.last)};
        if (!(part.first < part.last)) return;
        constexpr int kParts = 4;
        Ds50 from = part.first;
        double rateBefore = rangeRate(a, b, from);
        for (int i = 1; i <= kParts; ++i) {
            const Ds50 to = i == kParts ? part.last : Ds50{std::lerp(part.first.days, part.last.days, i / 4.0)};
            const double rateAfter = rangeRate(a, b, to);
            if (rateBefore < 0.0 && rateAfter >= 0.0) {
                const Ds50 root = nearest(a, b, from, rateBefore, to, rateAfter);
                const bool isEnd = root.days - common.first.days < kMicrosecond_days ||
                                   common.last.days - root.days < kMicrosecond_days;
                if (!isEnd && isDeep(a, b, from, root, to)) describe(a, b, root, false, found);
            }
            from = to;
            rateBefore = rateAfter;
        }
    }

    // The range rate times the range; zero where one has no state.
    static double rangeRate(const Member& a, const Member& b, Ds50 time) {
        const std::optional<State> ofA = stateOf(a.satellite, time);
        const std::optional<State> ofB = stateOf(b.satellite, time);
        if (!ofA || !ofB) return 0.0;
        return (positionOf(*ofB) - positionOf(*ofA)).dot(velocityOf(*ofB) - velocityOf(*ofA));
    }

    // The root of the range rate in a bracket, by regula falsi with the Illinois modification (Dowell and Jarratt 1971)
    // and a bisection wherever that gains little.
    static Ds50 nearest(const Member& a, const Member& b, Ds50 low, double atLow, Ds50 high, double atHigh) {
        int sameSide = 0;
        while (high.days - low.days > kMicrosecond_days / 4.0) {
            Ds50 middle{low.days - atLow * (high.days - low.days) / (atHigh - atLow)};
            if (std::abs(sameSide) > 3 || !(low < middle && middle < high))
                middle.days = low.days + (high.days - low.days) / 2.0;
            if (!(low < middle && middle < high)) break;  // neighbouring doubles
            const double atMiddle = rangeRate(a, b, middle);
            if (atMiddle < 0.0) {
                sameSide = std::min(sameSide, 0) - 1;
                if (sameSide < -1) atHigh /= 2.0;
                low = middle;
                atLow = atMiddle;
            } else {
                sameSide = std::max(sameSide, 0) + 1;
                if (sameSide > 1) atLow /= 2.0;
                high = middle;
                atHigh = atMiddle;
            }
        }
        return high;
    }

    // Whether a minimum is more than the rounding of a distance that stays the same.
    static bool isDeep(const Member& a, const Member& b, Ds50 before, Ds50 root, Ds50 after) {
        constexpr double kLeastDepth_km = 1e-9;
        return std::max(distance_km(a, b, before), distance_km(a, b, after)) - distance_km(a, b, root) > kLeastDepth_km;
    }

    static double distance_km(const Member& a, const Member& b, Ds50 time) {
        const std::optional<State> ofA = stateOf(a.satellite, time);
        const std::optional<State> ofB = stateOf(b.satellite, time);
        return ofA && ofB ? (positionOf(*ofB) - positionOf(*ofA)).norm() : 0.0;
    }

    void describe(const Member& a, const Member& b, Ds50 time, bool atEnd, std::vector<Approach>& found) const {
        const std::optional<State> ofA = stateOf(a.satellite, time);
        const std::optional<State> ofB = stateOf(b.satellite, time);
        if (!ofA || !ofB) return;
        const Vector apart = positionOf(*ofB) - positionOf(*ofA);
        if (!(apart.norm() < options_.within_km)) return;
        const Vector relative =
            velocityOf(onInertialAxes(*ofB, fleet_.motion)) - velocityOf(onInertialAxes(*ofA, fleet_.motion));
        Approach approach{a.index, b.index, time, atEnd, apart.norm(), {}, relative.norm(), {}};
        if (const std::optional<Axes> axes = orbitAxes(*ofA, fleet_.motion))
            approach.components_km = onAxes(*axes, arrayOf(apart));
        approach.sigmas = sigmasOf(a, b, time, apart);
        found.push_back(approach);
    }

    static std::optional<double> sigmasOf(const Member& a, const Member& b, Ds50 time, const Vector& apart) {
        Eigen::Matrix3d sum = Eigen::Matrix3d::Zero();
        for (const Member* const member : {&a, &b}) {
            const auto answer = member->satellite.try_state_and_covariance(time);
            if (!answer || !isCovariance(answer.value.second)) return std::nullopt;
            const Matrix6& covariance = answer.value.second;
            for (Eigen::Index row = 0; row < 3; ++row)
                for (Eigen::Index column = 0; column < 3; ++column)
                    sum(row, column) += covariance[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
        }
        const Eigen::LLT<Eigen::Matrix3d> factor(sum);
        if (factor.info() != Eigen::Success) return std::nullopt;
        return factor.matrixL().solve(apart).norm();
    }

    const Fleet& fleet_;
    const Samples& samples_;
    const ApproachOptions& options_;
    ApproachSieve sieve_;
    Span window_{};
    std::vector<std::pair<std::size_t, const Piece*>> present_;
    std::vector<Satellite> satellites_;
    std::vector<State> states_;
    std::vector<std::int32_t> codes_;
    std::vector<SievedState> sample_;
    std::vector<std::size_t> origins_;  // of the sampled ones, among those present
};

// Each thread takes the next sample.
void searchFleet(const Fleet& fleet, const ApproachOptions& options, std::vector<Approach>& events) {
    const std::vector<Span> shared = sharedSpans(fleet.members);
    if (shared.empty()) return;
    const Samples samples(shared, options.step_s);
    const std::size_t workers = std::clamp<std::size_t>(options.threads, 1, samples.count());
    std::atomic<std::size_t> next = 0;
    std::vector<std::vector<Approach>> found(workers);
    std::vector<std::exception_ptr> failures(workers);
    const auto work = [&](std::size_t worker) {
        try {
            Search search(fleet, samples, options);
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

// Pairs of different frames, without those with the same number, and pairs with the same number.
class FramePairs {
public:
    void add(std::int32_t number, Frame frame) {
        ++byFrame_[frame];
        if (isName(number)) ++byNumber_[number][frame];
    }

    std::uint64_t count(bool sameNumber) const {
        std::uint64_t pairs = across(byFrame_);
        if (!sameNumber)
            for (const auto& [number, frames] : byNumber_)
                pairs -= across(frames);
        return pairs;
    }

    // Of one frame.
    std::uint64_t countOfSameNumber() const {
        std::uint64_t pairs = 0;
        for (const auto& [number, frames] : byNumber_)
            for (const auto& [frame, count] : frames)
                pairs += count * (count - 1) / 2;
        return pairs;
    }

private:
    using Counts = std::map<Frame, std::uint64_t>;

    static std::uint64_t across(const Counts& counts) {
        std::uint64_t pairs = 0;
        std::uint64_t before = 0;
        for (const auto& [frame, count] : counts) {
            pairs += before * count;
            before += count;
        }
        return pairs;
    }

    Counts byFrame_;
    std::map<std::int32_t, Counts> byNumber_;
};

// Whether two members that are compared have states at a common time. Pieces that begin while others last are met in
// the order of time; most fleets have such a pair at once.
bool anyCompared(const Fleet& fleet, bool sameNumber) {
    std::vector<std::pair<Span, const Member*>> pieces;
    for (const Member& member : fleet.members)
        for (const Piece& piece : member.pieces)
            pieces.emplace_back(piece.span, &member);
    std::sort(pieces.begin(), pieces.end(), [](const auto& x, const auto& y) { return x.first.first < y.first.first; });
    std::vector<std::pair<Span, const Member*>> lasting;
    for (const auto& [span, member] : pieces) {
        std::erase_if(lasting, [begin = span.first](const auto& earlier) { return !(begin < earlier.first.last); });
        for (const auto& earlier : lasting)
            if (earlier.second != member && areComparable(*earlier.second, *member, sameNumber)) return true;
        lasting.emplace_back(span, member);
    }
    return false;
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
        const std::int32_t number = options.numbers.empty() ? fields.number : options.numbers[i];
        const bool isWanted =
            options.only.empty() || std::find(options.only.begin(), options.only.end(), number) != options.only.end();
        pairs.add(number, fields.frame);
        if (!isWanted) unwantedPairs.add(number, fields.frame);
        Fleet& fleet = fleets[fields.frame];
        fleet.motion = motion;
        fleet.members.push_back({i, satellite, number, isWanted, std::move(pieces)});
    }
    result.pairsAcrossFrames = pairs.count(options.sameNumber) - unwantedPairs.count(options.sameNumber);
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
