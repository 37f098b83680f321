// Curves over time, in panels one above the other, and their picture.
#pragma once

#include <string>
#include <vector>

#include "analysis/Curves.hpp"

namespace vorlandi::cli {

// The first satellites have a colour each that colour-blind people can tell apart, all others are grey.
inline constexpr std::size_t kPlotColours = 8;

struct PlotCurve {
    analysis::Curve curve;
    std::size_t satellite;    // its number in the plot, from 0
    const char* dashes = "";  // as in stroke-dasharray
};

struct PlotPanel {
    std::string title;  // with the unit
    bool isLogarithmic = false;
    std::vector<PlotCurve> curves;
};

// A stretch without states, or with states that may be far off.
struct PlotGap {
    Span span;
    std::size_t satellite;
    bool isAnswered;
};

struct PlotMark {
    Ds50 time;
    std::size_t satellite;
    std::string text;
};

struct Plot {
    std::string title;
    std::string description;
    Span span;
    std::vector<std::string> satellites;
    std::vector<PlotPanel> panels;
    std::vector<PlotGap> gaps;
    std::vector<PlotMark> marks;
};

// Escapes a text for svg or html.
std::string markupText(const std::string& text);

inline constexpr int kLeastPlotWidth = 300;
inline constexpr int kLargestPlotWidth = 10000;

// A document of its own, or an element for a page. Curves have at most two points per column of pixels.
std::string svgOf(const Plot& plot, int width_px);

}  // namespace vorlandi::cli
