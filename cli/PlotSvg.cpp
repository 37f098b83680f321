#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>

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
constexpr std::size_t kMostPoints = 60'000;  // of the curves of a panel: keeps fleets readable for browsers

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

class Svg {
public:
    Svg(const Plot& plot, int width_px) : plot_(plot), width_px_(width_px) {}

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
            // Grey curves lie under the others.
            for (auto curve = panel.curves.rbegin(); curve != panel.curves.rend(); ++curve)
                printCurve(*curve, panel, *range, top_px);
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

    void printCurve(const PlotCurve& curve, const PlotPanel& panel, const Range& range, double top_px) {
        const auto columns = static_cast<std::size_t>(width_px_ - kLeft_px - kRight_px);
        const std::size_t most = std::max<std::size_t>(kMostPoints / panel.curves.size() / 2, 40);
        const analysis::Curve shown = analysis::reduced(curve.curve, plot_.span, std::min(columns, most));
        print("<path fill=\"none\" stroke=\"{}\" stroke-width=\"{}\" stroke-dasharray=\"{}\" d=\"",
              colourOf(curve.satellite), curve.satellite < kPlotColours ? "1.3" : "0.6", curve.dashes);
        bool isPenDown = false;
        for (std::size_t i = 0; i < shown.times.size(); ++i) {
            const double value = shown.values[i];
            const bool isDrawn = std::isfinite(value) && !(panel.isLogarithmic && value <= 0.0);
            if (isDrawn)
                print("{}{:.1f} {:.1f}", isPenDown ? 'L' : 'M', x(shown.times[i]), y(value, panel, range, top_px));
            isPenDown = isDrawn;
        }
        text_ += "\"/>\n";
    }

    void printGaps(double top_px) {
        for (const PlotGap& gap : plot_.gaps) {
            const double left_px = x(gap.span.first);
            print("<rect x=\"{:.1f}\" y=\"{:g}\" width=\"{:.1f}\" height=\"{:g}\" fill=\"{}\" opacity=\"{}\"/>\n",
                  left_px, top_px, std::max(x(gap.span.last) - left_px, 0.5), kPanel_px, colourOf(gap.satellite),
                  gap.isAnswered ? "0.12" : "0.25");
        }
    }

    void printMarks(double top_px) {
        for (const PlotMark& mark : plot_.marks)
            print(
                "<line x1=\"{0:.1f}\" x2=\"{0:.1f}\" y1=\"{1:g}\" y2=\"{2:g}\" stroke=\"{3}\" stroke-dasharray=\"2 3\">"
                "<title>{4}</title></line>\n",
                x(mark.time), top_px, top_px + kPanel_px, colourOf(mark.satellite), markupText(mark.text));
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
