#include "PlotPage.hpp"

#include <fmt/format.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <iterator>

#include "ForeignTexts.hpp"
#include "PageTemplate.hpp"

namespace vorlandi::cli {
namespace {

static_assert(std::endian::native == std::endian::little, "the page reads doubles as little endian");

std::string base64(const std::string& bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(bytes.size() / 3 * 4 + 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k > bytes.size() ? '=' : kDigits[group >> (18 - 6 * k) & 63U];
    }
    return text;
}

void append(std::string& bytes, double value) {
    char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.append(raw, sizeof raw);
}

double since_s(Ds50 time, double start_days) { return (tai_days(time) - start_days) * analysis::kSecondsPerDay; }

std::string pointsOf(const analysis::Ephemeris& ephemeris, double start_days) {
    std::string bytes;
    for (std::size_t i = 0; i < ephemeris.size(); ++i) {
        append(bytes, since_s(ephemeris.times[i], start_days));
        for (const double x : ephemeris.states[i].position_km)
            append(bytes, x);
        for (const double v : ephemeris.states[i].velocity_km_s)
            append(bytes, v);
    }
    return base64(bytes);
}

// TAI minus UTC, from each day of the span on which it changes.
std::string offsetsOf(const Span& span) {
    std::string text;
    double before = -1.0;
    for (auto day = static_cast<int>(std::floor(span.first.days)); day <= span.last.days; ++day) {
        const double offset_s = tai_minus_utc_s({static_cast<double>(day)});
        if (offset_s != before) text += fmt::format("{}[{},{}]", text.empty() ? "" : ",", day, offset_s);
        before = offset_s;
    }
    return text;
}

// What ends a script element must not occur in one.
std::string withinScript(std::string json) {
    for (std::size_t at = 0; (at = json.find('<', at)) != std::string::npos;)
        json.replace(at, 1, "\\u003c");
    return json;
}

std::string dataOf(const std::vector<PageOrbit>& orbits, const Span& span) {
    const double start_days = tai_days(span.first);
    std::string json = fmt::format(R"({{"start_tai_days":{},"length_s":{},"tai_minus_utc":[{}],"satellites":[)",
                                   start_days, since_s(span.last, start_days), offsetsOf(span));
    const char* separator = "\n";
    for (const PageOrbit& orbit : orbits)
        json += fmt::format(R"({}{{"name":{},"frame":{},"from_s":{},"to_s":{},"points":"{}"}})",
                            std::exchange(separator, ",\n"), jsonText(orbit.name),
                            jsonText(name(orbit.ephemeris.frame)), since_s(orbit.range.first, start_days),
                            since_s(orbit.range.last, start_days), pointsOf(orbit.ephemeris, start_days));
    return withinScript(std::move(json)) + "]}";
}

}  // namespace

std::string pageOf(const Plot& plot, int width_px, const std::vector<PageOrbit>& orbits,
                   const std::vector<std::string>& notes) {
    std::string paragraphs;
    for (const std::string& note : notes)
        paragraphs += "<p>" + markupText(note) + "</p>\n";
    const std::string title = markupText(plot.title);
    const std::string panels = svgOf(plot, width_px);
    const std::string data = dataOf(orbits, plot.span);
    return filledIn(kPageTemplate,
                    {{"{title}", title}, {"{notes}", paragraphs}, {"{panels}", panels}, {"{data}", data}});
}

}  // namespace vorlandi::cli
