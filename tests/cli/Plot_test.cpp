#include <algorithm>
#include <cctype>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

class Plot : public CommandLine {
protected:
    std::string plotted(const std::string& arguments, int status = 0) const {
        const Outcome outcome = run("plot " + arguments + " -o out.svg --force");
        EXPECT_EQ(outcome.status, status) << arguments << outcome.messages;
        return contentsOf(file("out.svg"));
    }
};

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
        ++count;
    return count;
}

TEST_F(Plot, PanelsAreTheRequestedOnesThatHaveValues) {
    struct Case {
        std::string arguments;
        std::vector<std::string> titles;
    };
    const std::string height = ">height above 6378.137 km (km)<", speed = ">speed (km/s)<", sigma = ">sigma (m)",
                      error = ">estimated interpolation error (m)", radial = ">radial difference (m)<";
    const std::vector<std::string> all{height, speed, sigma, error, radial};
    for (const Case& c : {Case{"81001.e", {height, speed, error}}, Case{"81002.itc", {height, speed, sigma, error}},
                          Case{"81001.e --show speed,gaps", {speed}},
                          Case{"81002.itc --show height --diff 81002.itc", {height, radial}}}) {
        const std::string svg = plotted(c.arguments);
        for (const std::string& title : all)
            EXPECT_EQ(countOf(svg, title), std::count(c.titles.begin(), c.titles.end(), title)) << c.arguments << title;
        EXPECT_EQ(countOf(svg, "<title>Satellite 8100"), 1u);
        EXPECT_EQ(countOf(svg, "</svg>\n"), 1u);
    }
    EXPECT_THAT(plotted("81001.e 81002.itc"), HasSubstr("<title>2 satellites</title>"));
}

// The heights of the ends of the strokes, in pixels.
std::vector<double> strokesOf(const std::string& svg) {
    std::vector<double> heights;
    for (std::size_t at = 0; (at = svg.find_first_of("ML", at)) != std::string::npos; ++at)
        if (const std::size_t blank = svg.find(' ', at); std::isdigit(static_cast<unsigned char>(svg[at + 1])) != 0)
            heights.push_back(std::stod(svg.substr(blank + 1)));
    return heights;
}

TEST_F(Plot, CurvesFillTheirPanel) {
    const std::vector<double> heights = strokesOf(plotted("81001.e --show height"));
    const auto [top, bottom] = std::minmax_element(heights.begin(), heights.end());
    ASSERT_GT(heights.size(), 2u);
    EXPECT_GE(*top, 62.0);  // the rectangle of the panel
    EXPECT_LT(*top, 82.0);
    EXPECT_GT(*bottom, 192.0);
    EXPECT_LE(*bottom, 212.0);
}

TEST_F(Plot, CurvesHaveTwoPointsPerColumnAndBreakWhereThereAreNoStates) {
    write("81009.e", ephemeris(20000, 0.0, 1.0));
    const std::string svg = plotted("81009.e --show height --width 400");
    EXPECT_GT(countOf(svg, "L"), 500u);
    EXPECT_LE(countOf(svg, "L"), 2u * 400);
    // A speed that only rounding changes is a straight line with a few ticks.
    std::string circular = ephemeris(0);
    circular.erase(circular.find("end Ephemeris"));
    for (int k = 0; k < 9; ++k)
        circular += std::to_string(k * 60) + " 7000 0 " + std::to_string(k) + " 7.00000000000000" +
                    (k % 2 ? "1" : "0") + " 0 0\n";
    write("81011.e", circular);
    EXPECT_LE(countOf(plotted("81011.e --show speed"), "<line"), 30u);
    // Three hours without points: more than one stroke, and a darker rectangle between them.
    std::vector<double> times;
    for (int t = 0; t < 26000; t += 100)
        if (t < 6000 || t > 18000) times.push_back(t);
    write("81010.e", ephemerisAt(times));
    const std::string broken = plotted("81010.e --show height,gaps");
    EXPECT_GT(countOf(broken, "M"), 1u);
    EXPECT_EQ(countOf(broken, "opacity=\"0.25\""), 1u);
    EXPECT_EQ(countOf(plotted("81010.e --show height"), "opacity"), 0u);
}

TEST_F(Plot, LargePicturesStayBelowAMegabyte) {
    constexpr std::size_t kMegabyte = 1'000'000;
    const std::string fleet = plotted("$(yes 81001.e | head -n 1500) --show height --width 300");
    EXPECT_LT(fleet.size(), kMegabyte);
    // The first one, which is drawn last, has two points in each of 196 columns, and no curve is missing.
    EXPECT_EQ(countOf(fleet.substr(fleet.find("stroke=\"#0072b2\"")), "L"), 2u * 196 - 1);
    EXPECT_EQ(countOf(fleet, "M"), 1500u);
    struct Case {
        std::size_t files, gaps;
        int points;  // between gaps
        std::size_t least, most;
    };
    // Gaps are told apart unless they are within a pixel, or there are thousands. There are three panels.
    for (const Case& c : {Case{1, 20, 12, 20, 20}, Case{1, 1000, 12, 1, 10}, Case{8, 60, 12, 480, 480},
                          Case{8, 300, 24, 8, 5000 / 3}}) {
        std::vector<double> times;
        for (std::size_t i = 0; i <= c.gaps; ++i)
            for (int k = 0; k < c.points; ++k)
                times.push_back(static_cast<double>(i) * 2000.0 + 50.0 * k);
        write("81012.e", ephemerisAt(times));
        const std::string svg = plotted("$(yes 81012.e | head -n " + std::to_string(c.files) + ")");
        EXPECT_LT(svg.size(), kMegabyte);
        const std::size_t shades = countOf(svg, "v150") / 3;
        EXPECT_GE(shades, c.least) << c.gaps;
        EXPECT_LE(shades, c.most) << c.gaps;
    }
}

TEST_F(Plot, RangesShowWhatTheWholeFileSays) {
    // Two points: no window lies within the range, but states between them are answered.
    const std::string range = "81001.e --from 2026-01-31T00:03:00 --to 2026-01-31T00:04:00";
    EXPECT_GT(countOf(plotted(range + " --show height"), "L"), 500u);
    ASSERT_EQ(run("plot " + range + " -o range.html").status, 0);
    const std::string page = contentsOf(file("range.html"));
    EXPECT_THAT(page, HasSubstr("\"from_s\":0,\"to_s\":60"));
    const std::size_t begin = page.find("\"points\":\"") + 10;
    EXPECT_EQ((page.find('"', begin) - begin) / 4 * 3 / (7 * sizeof(double)), 6u);
}

// An orbit, so that there are radial, in-track and cross-track axes.
std::string circleAt(const std::vector<double>& times_s) {
    constexpr double kRadius_km = 7000.0, kRate_rad_s = 1.078e-3;
    std::ostringstream text;
    text << "stk.v.4.3\nScenarioEpoch 31 Jan 2026 00:00:00.000\nDistanceUnit Kilometers\nEphemerisTimePosVel\n"
         << std::setprecision(17);
    for (const double time_s : times_s) {
        const double x = kRadius_km * std::cos(kRate_rad_s * time_s), y = kRadius_km * std::sin(kRate_rad_s * time_s);
        text << time_s << ' ' << x << ' ' << y << " 0 " << -kRate_rad_s * y << ' ' << kRate_rad_s * x << " 0\n";
    }
    text << "end Ephemeris\n";
    return text.str();
}

TEST_F(Plot, DifferencesAreNotDrawnAcrossGaps) {
    std::vector<double> times;
    for (int t = 0; t <= 36000; t += 60)
        if (t <= 12000 || t >= 17400) times.push_back(t);
    write("gap.e", circleAt(times));
    times.clear();
    for (int t = 0; t <= 36000; t += 60)
        times.push_back(t);
    write("whole.e", circleAt(times));
    struct Case {
        std::string files, warning;
        std::size_t strokes;  // in each of three panels, and a shade where the file itself has a gap
    };
    for (const auto& [files, warning, strokes] :
         {Case{"whole.e --diff gap.e", "(gap.e): warning: 89 of 601 states are interpolated across 1 gap: ", 2},
          Case{"gap.e --diff whole.e", "", 3}}) {
        const Outcome outcome = run("plot " + files + " --show gaps -o out.svg --force --number 81001");
        EXPECT_EQ(outcome.status, 0) << outcome.messages;
        if (warning.empty())
            EXPECT_EQ(outcome.messages, "");
        else
            EXPECT_THAT(outcome.messages, HasSubstr(warning));
        EXPECT_EQ(countOf(contentsOf(file("out.svg")), "M"), 3u * strokes) << files;
    }
}

TEST_F(Plot, WhatCannotBePlottedIsReported) {
    write("old.svg", "mine");
    write("<b>.e", ephemeris(5));
    struct Case {
        std::string arguments;
        int status;
        std::string message;
    };
    for (const Case& c :
         {Case{"81001.e -o old.svg", 1, "old.svg: error: exists; --force replaces it"},
          Case{"81001.e -o out.png", 2, "needs a name that ends in .svg or .html"},
          Case{"81001.e", 2, "--output is required"}, Case{"81001.e -o out.svg --show depth", 2, "depth"},
          Case{"81001.e -o out.svg --width 10", 2, "--width"},
          Case{"81001.e -o out.svg --sat 5", 1, "satellite 5 is not in any of the files"},
          Case{"81001.e -o out.svg --from 2027-01-01", 1, "there is nothing to plot"},
          Case{"81001.e -o new.svg --diff 81002.itc", 1, "has no partner of its number and frame"},
          Case{"81001.e -o none/out.svg", 1, "none/out.svg"},
          Case{"81001.e -o " + std::string(300, 'x') + ".svg", 1, "x.svg: error: File name too long"}}) {
        const Outcome outcome = run("plot " + c.arguments);
        EXPECT_EQ(outcome.status, c.status) << c.arguments;
        EXPECT_THAT(outcome.messages, HasSubstr(c.message));
    }
    EXPECT_EQ(contentsOf(file("old.svg")), "mine");
    EXPECT_FALSE(fs::exists(file("out.svg")));
}

}  // namespace
}  // namespace vorlandi::cli_tests
