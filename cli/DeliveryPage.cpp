#include <algorithm>
#include <cmath>
#include <iterator>

#include "DeliveryReport.hpp"
#include "DeliveryTexts.hpp"
#include "PageTemplate.hpp"
#include "Plot.hpp"

namespace vorlandi::cli {
namespace {

constexpr int kPicture_px = 1000;

class DeliveryPageText {
public:
    DeliveryPageText(const DeliveryReport& report, std::size_t limit) : report_(report), limit_(limit) {}

    std::string text() {
        paragraph(summaryOf(report_.now));
        if (report_.before)
            paragraph(fmt::format("Previous delivery {}: {}", report_.before->name, summaryOf(*report_.before)));
        table("", groupRows(report_));
        if (report_.counts.empty()) paragraph("No findings.");
        table("Findings", findingRows(report_));
        lines("Errors and warnings", findingLines(report_, limit_));
        if (report_.before) {
            lines("Changes", changeLines(report_, limit_));
            table("Difference to the previous delivery", ageRows(report_));
            for (const std::string& note : ageNotes(report_))
                paragraph(note);
            if (!report_.ages.empty()) parts_ += svgOf(differences(), kPicture_px);
        }
        table("Satellites", satelliteRows(report_));
        const std::string title = markupText("Delivery " + report_.now.name);
        return filledIn(kDeliveryPageTemplate, {{"{title}", title}, {"{parts}", parts_}});
    }

private:
    template <typename... Arguments>
    void print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        fmt::format_to(std::back_inserter(parts_), format, std::forward<Arguments>(arguments)...);
    }

    void heading(const std::string& title) {
        if (!title.empty()) print("<h2>{}</h2>\n", markupText(title));
    }

    void paragraph(const std::string& text) { print("<p>{}</p>\n", markupText(text)); }

    void lines(const std::string& title, const std::vector<std::string>& lines) {
        if (lines.empty()) return;
        heading(title);
        parts_ += "<ul>\n";
        for (const std::string& line : lines)
            print("<li>{}</li>\n", markupText(line));
        parts_ += "</ul>\n";
    }

    void row(const TextTable::Row& row, const std::vector<bool>& areTexts, std::string_view element) {
        parts_ += "<tr>";
        for (std::size_t i = 0; i < row.size(); ++i)
            print("<{0}{1}>{2}</{0}>", element, areTexts[i] ? " class=\"text\"" : "", markupText(row[i]));
        parts_ += "</tr>\n";
    }

    void table(const std::string& title, const TextRows& rows) {
        if (rows.rows.empty()) return;
        heading(title);
        parts_ += "<div class=\"wide\"><table>\n";
        row(rows.titles, rows.areTexts, "th");
        for (const TextTable::Row& each : rows.rows)
            row(each, rows.areTexts, "td");
        parts_ += "</table></div>\n";
    }

    // The satellites that differ most have a colour each; those that don't differ at all are not drawn.
    std::vector<std::size_t> byDifference() const {
        std::vector<std::pair<double, std::size_t>> largest;
        for (std::size_t i = 0; i < report_.differences.size(); ++i) {
            double largest_m = 0.0;
            for (const analysis::AgeDifference& age : report_.differences[i].ages)
                largest_m = std::max(largest_m, age.largest_m);
            if (!report_.differences[i].isSame && !report_.differences[i].isLeftOut)
                largest.emplace_back(-largest_m, i);
        }
        std::sort(largest.begin(), largest.end());
        std::vector<std::size_t> order;
        order.reserve(largest.size());
        for (const auto& [size, index] : largest)
            order.push_back(index);
        return order;
    }

    Plot differences() const {
        Plot plot;
        plot.title = "This delivery minus the previous one";
        plot.description = "Distances of the positions over time, and in sigmas where there are covariances";
        plot.panels = {{"distance (m)", true, {}}, {"normalized distance (sigmas)", true, {}}};
        const std::vector<std::size_t> order = byDifference();
        plot.span = report_.compared[order.front()].span;
        for (const std::size_t index : order) {
            const ComparedRecords& compared = report_.compared[index];
            const CheckedSatellite& satellite = report_.satelliteOf(index);
            const std::size_t number = plot.satellites.size();
            plot.satellites.push_back(shortNameOf({satellite.record, satellite.inFile}));
            plot.span.first = std::min(plot.span.first, compared.span.first);
            plot.span.last = std::max(plot.span.last, compared.span.last);
            plot.panels[0].curves.push_back({report_.differences[index].distance_m, number});
            if (!report_.differences[index].normalized.times.empty())
                plot.panels[1].curves.push_back({report_.differences[index].normalized, number});
        }
        if (plot.panels[1].curves.empty()) plot.panels.pop_back();
        return plot;
    }

    const DeliveryReport& report_;
    std::size_t limit_;
    std::string parts_;
};

}  // namespace

std::string deliveryPage(const DeliveryReport& report, std::size_t limit) {
    return DeliveryPageText(report, limit).text();
}

}  // namespace vorlandi::cli
