#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <string_view>

#include "ForeignTexts.hpp"
#include "Plot.hpp"
#include "PlotAxes.hpp"

namespace vorlandi::cli {
namespace {

constexpr double kLeft_px = 78, kRight_px = 26, kPanel_px = 150, kBetween_px = 34, kTop_px = 62, kBottom_px = 40;
// For people who see red and green alike (Okabe and Ito 2008).
constexpr const char* kColours[kPlotColours] = {"#0072b2", "#e69f00", "#009e73", "#d55e00",
                                                "#cc79a7", "#56b4e9", "#8a7500", "#000000"};
constexpr const char* kGrey = "#9a9a9a";

// Limits of the whole picture, in all its panels, that keep it below 1 MB. If there are grey curves, they have half of
// the points.
constexpr std::size_t kMostPoints = 48'000;
constexpr std::size_t kMostGaps = 5'000;
constexpr std::size_t kMostMarks = 1'000;

const char* colourOf(std::size_t satellite) { return satellite < kPlotColours ? kColours[satellite] : kGrey; }

// The least and the largest value of a panel, with some room.
struct Range {
    double least;
    double largest;
};

std::optional<Range> rangeOf(const PlotPanel& panel) {
    double least = std::numeric_limits<double>::infinity(), largest = -least;
    for (const PlotCurve& curve : panel.curves)
        for (const double value : curve.curve.values) {
            if (!std::isfinite(value) || (panel.isLogarithmic && value <= 0.0)) continue;
            least = std::min(least, value);
            largest = std::max(largest, value);
        }
    if (!(least <= largest)) return std::nullopt;
    if (panel.isLogarithmic)
        return Range{std::pow(10.0, std::floor(std::log10(least))),
                     std::pow(10.0, std::ceil(std::log10(largest * 1.01)))};
    // What differs by rounding alone is a straight line.
    const double extent = largest - least;
    const double size = std::max(std::abs(least), std::abs(largest));
    const double room = extent > 1e-6 * size ? 0.05 * extent : std::max(1e-6 * size, 1e-9);
    return Range{least - room, largest + room};
}

// Gaps of one kind that are too close together to be told apart.
struct Shade {
    double left_px;
    double right_px;
    std::size_t satellite;
    bool isAnswered;
};

// Jumps of one satellite that are too close together.
struct Line {
    double x_px;
    const PlotMark* first;
    std::size_t others;
};

// Calls merged(reach_px), which joins what is at most that far apart, with the least reach that leaves few enough.
template <typename Merge>
auto fewEnough(std::size_t most, const Merge& merged) {
    double reach_px = 1.0;
    while (true) {
        if (auto result = merged(reach_px); result.size() <= most || reach_px > kLargestPlotWidth) return result;
        reach_px *= 2.0;
    }
}

class Svg {
public:
    Svg(const Plot& plot, int width_px) : plot_(plot), width_px_(width_px) {
        const std::size_t panels = std::max<std::size_t>(plot.panels.size(), 1);
        shades_ = fewEnough(kMostGaps / panels, [&](double reach_px) { return shades(reach_px); });
        lines_ = fewEnough(kMostMarks / panels, [&](double reach_px) { return lines(reach_px); });
        std::size_t coloured = 0, grey = 0;
        for (const PlotPanel& panel : plot.panels)
            for (const PlotCurve& curve : panel.curves)
                ++(isGrey(curve) ? grey : coloured);
        const std::size_t share = grey > 0 ? kMostPoints / 2 : kMostPoints;
        mostOfColoured_ = share / std::max<std::size_t>(coloured, 1);
        mostOfGrey_ = share / std::max<std::size_t>(grey, 1);
    }

    std::string text() {
        const double height_px =
            kTop_px + static_cast<double>(plot_.panels.size()) * (kPanel_px + kBetween_px) - kBetween_px + kBottom_px;
        print(
            R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0}" height="{1:g}" viewBox="0 0 {0} {1:g}" role="img" )"
            R"(font-family="sans-serif" font-size="12">)"
            "\n",
            width_px_, height_px);
        print("<title>{}</title>\n<desc>{}</desc>\n", markupText(plot_.title), markupText(plot_.description));
        print(R"(<rect width="100%" height="100%" fill="#ffffff"/>)"
              "\n");
        print(R"(<text x="{:g}" y="20" font-size="15">{}</text>)"
              "\n",
              kLeft_px, markupText(plot_.title));
        printLegend();
        double top_px = kTop_px;
        for (const PlotPanel& panel : plot_.panels) {
            printPanel(panel, top_px);
            top_px += kPanel_px + kBetween_px;
        }
        printTimes(top_px - kBetween_px);
        text_ += "</svg>\n";
        return std::move(text_);
    }

private:
    template <typename... Arguments>
    void print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        fmt::format_to(std::back_inserter(text_), format, std::forward<Arguments>(arguments)...);
    }

    double x(Ds50 time) const {
        const double share = (time.days - plot_.span.first.days) / (plot_.span.last.days - plot_.span.first.days);
        return kLeft_px + share * (width_px_ - kLeft_px - kRight_px);
    }

    void printLegend() {
        double left_px = kLeft_px;
        const std::size_t named = std::min(plot_.satellites.size(), kPlotColours);
        const auto label = [&](const std::string& name, const char* colour) {
            print(R"(<text x="{:.0f}" y="40" fill="{}">{}</text>)"
                  "\n",
                  left_px, colour, markupText(name));
            left_px += 14.0 + 7.5 * static_cast<double>(displayWidth(name));
        };
        for (std::size_t i = 0; i < named; ++i)
            label(plot_.satellites[i], colourOf(i));
        if (plot_.satellites.size() > named) label(fmt::format("and {} more", plot_.satellites.size() - named), kGrey);
    }

    void printPanel(const PlotPanel& panel, double top_px) {
        const std::optional<Range> range = rangeOf(panel);
        print("<g>\n<text x=\"{:g}\" y=\"{:.0f}\">{}{}</text>\n", kLeft_px, top_px - 6.0, markupText(panel.title),
              range ? "" : ": no values");
        printGaps(top_px);
        print("<rect x=\"{:g}\" y=\"{:g}\" width=\"{:g}\" height=\"{:g}\" fill=\"none\" stroke=\"#444444\"/>\n",
              kLeft_px, top_px, width_px_ - kLeft_px - kRight_px, kPanel_px);
        if (range) {
            printValues(panel, *range, top_px);
            printCurves(panel, *range, top_px);
        }
        printMarks(top_px);
        text_ += "</g>\n";
    }

    double y(double value, const PlotPanel& panel, const Range& range, double top_px) const {
        const double share = panel.isLogarithmic
                                 ? std::log10(value / range.least) / std::log10(range.largest / range.least)
                                 : (value - range.least) / (range.largest - range.least);
        return top_px + kPanel_px * (1.0 - std::clamp(share, 0.0, 1.0));
    }

    void printValues(const PlotPanel& panel, const Range& range, double top_px) {
        const std::vector<Tick> ticks =
            panel.isLogarithmic ? decadeTicks(range.least, range.largest) : evenTicks(range.least, range.largest, 4);
        for (const Tick& tick : ticks) {
            const double y_px = y(tick.value, panel, range, top_px);
            print("<line x1=\"{:g}\" x2=\"{:g}\" y1=\"{:.1f}\" y2=\"{:.1f}\" stroke=\"#dddddd\"/>\n", kLeft_px,
                  width_px_ - kRight_px, y_px, y_px);
            print("<text x=\"{:g}\" y=\"{:.1f}\" text-anchor=\"end\">{}</text>\n", kLeft_px - 6.0, y_px + 4.0,
                  tick.text);
        }
    }

    static bool isGrey(const PlotCurve& curve) { return curve.satellite >= kPlotColours; }

    // Grey curves lie under the others, and those that look alike are one path.
    void printCurves(const PlotPanel& panel, const Range& range, double top_px) {
        std::map<std::string_view, std::string> grey;
        for (const PlotCurve& curve : panel.curves)
            if (isGrey(curve)) appendCurve(grey[curve.dashes], curve, panel, range, top_px);
        for (const auto& [dashes, data] : grey)
            printPath(kGrey, "0.6", dashes, data);
        for (auto curve = panel.curves.rbegin(); curve != panel.curves.rend(); ++curve) {
            if (isGrey(*curve)) continue;
            std::string data;
            appendCurve(data, *curve, panel, range, top_px);
            printPath(colourOf(curve->satellite), "1.3", curve->dashes, data);
        }
    }

    void printPath(const char* colour, const char* width, std::string_view dashes, const std::string& data) {
        print("<path fill=\"none\" stroke=\"{}\" stroke-width=\"{}\" stroke-dasharray=\"{}\" d=\"{}\"/>\n", colour,
              width, dashes, data);
    }

    void appendCurve(std::string& data, const PlotCurve& curve, const PlotPanel& panel, const Range& range,
                     double top_px) const {
        const auto columns = static_cast<std::size_t>(width_px_ - kLeft_px - kRight_px);
        const std::size_t most = std::max<std::size_t>((isGrey(curve) ? mostOfGrey_ : mostOfColoured_) / 2, 1);
        const analysis::Curve shown = analysis::reduced(curve.curve, plot_.span, std::min(columns, most));
        bool isPenDown = false;
        for (std::size_t i = 0; i < shown.times.size(); ++i) {
            const double value = shown.values[i];
            const bool isDrawn = std::isfinite(value) && !(panel.isLogarithmic && value <= 0.0);
            if (isDrawn)
                fmt::format_to(std::back_inserter(data), "{}{:.1f} {:.1f}", isPenDown ? 'L' : 'M', x(shown.times[i]),
                               y(value, panel, range, top_px));
            isPenDown = isDrawn;
        }
    }

    // Gaps come in the order of satellites, kinds and times.
    std::vector<Shade> shades(double reach_px) const {
        constexpr double kLeastWidth_px = 0.5;
        std::vector<Shade> result;
        for (const PlotGap& gap : plot_.gaps) {
            const double left_px = x(gap.span.first);
            const double right_px = std::max(x(gap.span.last), left_px + kLeastWidth_px);
            const bool continues = !result.empty() && result.back().satellite == gap.satellite &&
                                   result.back().isAnswered == gap.isAnswered &&
                                   left_px - result.back().right_px <= reach_px;
            if (continues)
                result.back().right_px = std::max(result.back().right_px, right_px);
            else
                result.push_back({left_px, right_px, gap.satellite, gap.isAnswered});
        }
        return result;
    }

    // The shades of a colour and kind are one path.
    void printGaps(double top_px) {
        for (auto shade = shades_.begin(); shade != shades_.end();) {
            const Shade& first = *shade;
            text_ += "<path d=\"";
            for (;
                 shade != shades_.end() && shade->satellite == first.satellite && shade->isAnswered == first.isAnswered;
                 ++shade)
                print("M{0:.1f} {1:g}h{2:.1f}v{3:g}h-{2:.1f}z", shade->left_px, top_px,
                      shade->right_px - shade->left_px, kPanel_px);
            print("\" fill=\"{}\" opacity=\"{}\"/>\n", colourOf(first.satellite), first.isAnswered ? "0.12" : "0.25");
        }
    }

    std::vector<Line> lines(double reach_px) const {
        std::vector<Line> result;
        for (const PlotMark& mark : plot_.marks) {
            const double x_px = x(mark.time);
            if (!result.empty() && result.back().first->satellite == mark.satellite &&
                std::abs(x_px - result.back().x_px) <= reach_px)
                ++result.back().others;
            else
                result.push_back({x_px, &mark, 0});
        }
        return result;
    }

    void printMarks(double top_px) {
        for (const Line& line : lines_)
            print(
                "<line x1=\"{0:.1f}\" x2=\"{0:.1f}\" y1=\"{1:g}\" y2=\"{2:g}\" stroke=\"{3}\" stroke-dasharray=\"2 3\">"
                "<title>{4}{5}</title></line>\n",
                line.x_px, top_px, top_px + kPanel_px, colourOf(line.first->satellite), markupText(line.first->text),
                line.others > 0 ? fmt::format(" and {} more", line.others) : "");
    }

    void printTimes(double bottom_px) {
        constexpr double kBetweenTicks_px = 110;
        const int count = std::max(2, static_cast<int>((width_px_ - kLeft_px - kRight_px) / kBetweenTicks_px));
        for (const Tick& tick : timeTicks(plot_.span, count)) {
            const double x_px = x({tick.value});
            print("<line x1=\"{0:.1f}\" x2=\"{0:.1f}\" y1=\"{1:g}\" y2=\"{2:g}\" stroke=\"#444444\"/>\n", x_px,
                  bottom_px, bottom_px + 5.0);
            print("<text x=\"{:.1f}\" y=\"{:g}\" text-anchor=\"middle\">{}</text>\n", x_px, bottom_px + 18.0,
                  tick.text);
        }
        print("<text x=\"{:g}\" y=\"{:g}\" text-anchor=\"end\" font-size=\"10\">UTC</text>\n", width_px_ - kRight_px,
              bottom_px + 32.0);
    }

    const Plot& plot_;
    int width_px_;
    std::vector<Shade> shades_;
    std::vector<Line> lines_;
    std::size_t mostOfColoured_;  // points of a curve
    std::size_t mostOfGrey_;
    std::string text_;
};

}  // namespace

std::string markupText(const std::string& text) {
    std::string result;
    for (const char c : printable(text)) {
        if (c == '<')
            result += "&lt;";
        else if (c == '>')
            result += "&gt;";
        else if (c == '&')
            result += "&amp;";
        else if (c == '"')
            result += "&quot;";
        else
            result += c;
    }
    return result;
}

std::string svgOf(const Plot& plot, int width_px) { return Svg(plot, width_px).text(); }

}  // namespace vorlandi::cli
