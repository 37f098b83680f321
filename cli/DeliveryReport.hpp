// The findings of the command `delivery`, and the writers of its three forms.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CheckReport.hpp"
#include "Output.hpp"
#include "analysis/Delivery.hpp"

namespace vorlandi::cli {

// One of the two deliveries.
struct CheckedDelivery {
    std::string name;
    std::vector<CheckedSatellite> satellites;
    std::vector<CheckedFile> files;
    std::vector<bool> areStatesWrong;  // of each satellite, by all that the check has found
};

// Two records that belong together and overlap.
struct ComparedRecords {
    std::size_t now;
    std::size_t before;
    Span span;
};

// A difference from the earlier delivery.
enum class ChangeKind { Missing, Added, FrameChanged, NoOverlap, EndsEarlier, NotUpdated, FarOff };

std::string_view nameOf(ChangeKind kind);
analysis::Severity severityOf(ChangeKind kind);

struct Change {
    ChangeKind kind;
    RecordOfFile record;  // of the earlier delivery if it is missing in the later one
    std::string text;
};

// The findings of a kind and severity.
struct FindingCount {
    analysis::Severity severity;
    analysis::Kind kind;
    std::size_t findings = 0;
    std::size_t subjects = 0;  // satellites and files that have some
    std::size_t added = 0;     // findings that the earlier delivery doesn't have
    std::size_t gone = 0;      // findings that only the earlier one has
};

// Satellites that are alike.
struct DeliveryGroup {
    Frame frame;
    std::optional<double> spacing_s;  // median, to the second
    std::size_t satellites = 0;
    std::size_t points = 0;
    TimeSpan span;
};

struct DeliveryReport {
    double tolerance_m = 0.0;
    CheckedDelivery now;
    std::optional<CheckedDelivery> before;

    // Filled by compareDeliveries. Whether the findings of each satellite and file are new; empty without `before`.
    std::vector<std::vector<bool>> isNewInSatellite;
    std::vector<std::vector<bool>> isNewInFile;
    std::vector<FindingCount> counts;  // errors first
    std::vector<ComparedRecords> compared;
    std::vector<analysis::PredictionDifference> differences;  // one for each of `compared`
    std::vector<analysis::AgeStatistics> ages;
    std::vector<Change> changes;  // by kind

    // Of the findings and of the changes.
    std::size_t count(analysis::Severity severity) const;
    const CheckedSatellite& satelliteOf(std::size_t difference) const {
        return now.satellites[compared[difference].now];
    }
};

// Compares the deliveries, and counts the findings. Without an earlier delivery it only counts.
void compareDeliveries(DeliveryReport& report, unsigned threads);

std::vector<DeliveryGroup> groupsOf(const CheckedDelivery& delivery);

// "200 satellites in 200 files, 96000 points, 2026-01-31T00:00:00.000000 to ...".
std::string summaryOf(const CheckedDelivery& delivery);

// What the statistics say about the covariances: "optimistic by a factor of 2.1".
std::string honestyText(const analysis::AgeStatistics& statistics);
std::string_view nameOf(analysis::Honesty honesty);

// `limit`: how many findings and changes of a kind are listed.
void printDeliveryTable(const DeliveryReport& report, std::size_t limit, Output& output);
void printDeliveryJson(const DeliveryReport& report, Output& output);
std::string deliveryPage(const DeliveryReport& report, std::size_t limit);

}  // namespace vorlandi::cli
