#include "PlotPanels.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "analysis/Jumps.hpp"
#include "analysis/Steps.hpp"

namespace vorlandi::cli {
namespace {

using analysis::Curve;

constexpr const char* kDashes[] = {"", "6 3", "2 2"};  // radial, in-track, cross-track
constexpr const char* kAxisNames[] = {"radial", "in-track", "cross-track"};

Span spanOf(const std::vector<PlottedSatellite>& satellites) {
    Span span{satellites.front().ephemeris.times.front(), satellites.front().ephemeris.times.back()};
    for (const PlottedSatellite& satellite : satellites) {
        span.first = std::min(span.first, satellite.ephemeris.times.front());
        span.last = std::max(span.last, satellite.ephemeris.times.back());
    }
    // One point still has a width.
    if (span.first == span.last) span.last.days += 1.0 / analysis::kSecondsPerDay;
    return span;
}

class Panels {
public:
    Panels(const std::vector<PlottedSatellite>& satellites, const std::set<Shown>& shown, int width_px)
        : satellites_(satellites), shown_(shown), samples_(2 * static_cast<std::size_t>(width_px)) {
        plot_.span = spanOf(satellites);
        for (const PlottedSatellite& satellite : satellites)
            plot_.satellites.push_back(satellite.name);
    }

    Plot plot(const std::vector<PlottedPair>& pairs) {
        if (shown_.contains(Shown::Height)) addValues("height above 6378.137 km (km)", analysis::height_km);
        if (shown_.contains(Shown::Speed)) addValues("speed (km/s)", analysis::speed_km_s);
        if (shown_.contains(Shown::Sigma)) addSigmas();
        addErrors();
        if (!pairs.empty()) addDifferences(pairs);
        return std::move(plot_);
    }

private:
    void addValues(const char* title, double (*value)(const State&)) {
        PlotPanel panel{title, false, {}};
        for (std::size_t i = 0; i < satellites_.size(); ++i)
            panel.curves.push_back(
                {curveOf(satellites_[i].satellite, satellites_[i].ephemeris, samples_, value), i, ""});
        plot_.panels.push_back(std::move(panel));
    }

    void addSigmas() {
        PlotPanel panel{"sigma (m): radial, in-track (dashed), cross-track (dotted)", true, {}};
        for (std::size_t i = 0; i < satellites_.size(); ++i) {
            std::array<Curve, 3> curves = sigmaCurves(satellites_[i].ephemeris);
            for (std::size_t axis = 0; axis < curves.size(); ++axis)
                if (!curves[axis].times.empty()) panel.curves.push_back({std::move(curves[axis]), i, kDashes[axis]});
        }
        if (!panel.curves.empty()) plot_.panels.push_back(std::move(panel));
    }

    // Gaps and jumps are marked for the satellites that have a colour.
    void addErrors() {
        PlotPanel panel{"estimated interpolation error (m)", true, {}};
        for (std::size_t i = 0; i < satellites_.size(); ++i) {
            const bool isMarked = i < kPlotColours && shown_.contains(Shown::Gaps);
            if (!isMarked && !shown_.contains(Shown::Error)) continue;
            const analysis::Ephemeris& ephemeris = satellites_[i].ephemeris;
            const analysis::InterpolationErrors errors = analysis::estimatedErrors(ephemeris);
            if (isMarked) markGapsAndJumps(i, errors);
            panel.curves.push_back({errorCurve(ephemeris, errors), i, ""});
        }
        if (shown_.contains(Shown::Error)) plot_.panels.push_back(std::move(panel));
    }

    void markGapsAndJumps(std::size_t i, const analysis::InterpolationErrors& errors) {
        const analysis::Ephemeris& ephemeris = satellites_[i].ephemeris;
        const std::vector<std::size_t> gaps = analysis::gapsIn(analysis::stepsOf(ephemeris));
        for (const analysis::Stretch& stretch : unansweredStretches(ephemeris))
            plot_.gaps.push_back({{ephemeris.times[stretch.first], ephemeris.times[stretch.last + 1]}, i, false});
        for (const std::size_t gap : gaps)
            if (isAnswered(ephemeris, gap))
                plot_.gaps.push_back({{ephemeris.times[gap], ephemeris.times[gap + 1]}, i, true});
        if (errors.motion == analysis::Motion::Unknown || errors.spacing_m.empty()) return;
        for (const analysis::Jump& jump : findIrregularities(ephemeris, errors, gaps).jumps)
            plot_.marks.push_back(
                {from_tai_days(tai_days(ephemeris.times.front()) + jump.elapsed_s / analysis::kSecondsPerDay), i,
                 fmt::format("{} of {}, {:.3g} m/s", jump.isManoeuvre ? "manoeuvre" : "step", satellites_[i].name,
                             jump.speed_m_s())});
    }

    void addDifferences(const std::vector<PlottedPair>& pairs) {
        constexpr analysis::Quantity kQuantities[] = {analysis::Quantity::Radial, analysis::Quantity::InTrack,
                                                      analysis::Quantity::CrossTrack};
        std::array<PlotPanel, 3> panels;
        for (std::size_t axis = 0; axis < panels.size(); ++axis)
            panels[axis].title = fmt::format("{} difference (m)", kAxisNames[axis]);
        for (const PlottedPair& pair : pairs) {
            const PlottedSatellite& first = satellites_[pair.first];
            const std::optional<Span> common = analysis::commonSpan(first.satellite, pair.second, plot_.span);
            if (!common) continue;
            const analysis::Comparison comparison =
                analysis::compare(first.satellite, pair.second, analysis::timesWithin(first.satellite, *common));
            for (std::size_t axis = 0; axis < panels.size(); ++axis) {
                Curve curve;
                for (const analysis::Difference& difference : comparison.differences)
                    curve.add(difference.time, difference[kQuantities[axis]]);
                panels[axis].curves.push_back({std::move(curve), pair.first, ""});
            }
        }
        for (PlotPanel& panel : panels)
            plot_.panels.push_back(std::move(panel));
    }

    const std::vector<PlottedSatellite>& satellites_;
    const std::set<Shown>& shown_;
    std::size_t samples_;
    Plot plot_;
};

}  // namespace

Plot makePlot(const std::vector<PlottedSatellite>& satellites, const std::vector<PlottedPair>& pairs,
              const std::set<Shown>& shown, int width_px) {
    return Panels(satellites, shown, width_px).plot(pairs);
}

}  // namespace vorlandi::cli
