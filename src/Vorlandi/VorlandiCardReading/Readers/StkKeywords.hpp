// The keywords of an STK file by the practical rules, in any letter case, and the tables of their meanings.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "CoreServices/BoundedText.hpp"
#include "CoreServices/Texts.hpp"
#include "CoreServices/Units.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi::stk {

constexpr std::string_view kName = "ReadSTK";

template <class Value>
struct Named {
    std::string_view name;
    Value value;
};

constexpr Named<std::int32_t> kFrames[] = {
    {"TEMEOfDate", kEci}, {"TEME", kEci},  {"J2000", kJ2k}, {"ICRF", kJ2k},
    {"Inertial", kJ2k},   {"Fixed", kEcr}, {"ITRF", kEcr},
};

constexpr Named<double> kUnits[] = {{"Meters", kKmPerMeter}, {"Kilometers", 1.0}};  // km

constexpr Named<bool> kCentralBodies[] = {{"Earth", true}};

// Numbers on a line, the time included.
constexpr std::size_t kMostNumbers = 10;
constexpr Named<std::size_t> kStateSections[] = {
    {"EphemerisTimePos", 4},    {"EphemerisTimePosVel", 7},    {"EphemerisTimePosVelAcc", kMostNumbers},
    {"EphemerisEciTimePos", 4}, {"EphemerisEciTimePosVel", 7}, {"EphemerisEciTimePosVelAcc", kMostNumbers},
};

// Rows of the triangle.
constexpr Named<std::size_t> kCovarianceSections[] = {{"CovarianceTimePos", 3}, {"CovarianceTimePosVel", 6}};

enum class Triangle { Lower, Upper };  // each row by row
constexpr Named<Triangle> kTriangles[] = {{"LowerTriangular", Triangle::Lower}, {"UpperTriangular", Triangle::Upper}};

constexpr std::string_view kBoundarySection = "SegmentBoundaryTimes";
constexpr std::string_view kBlockSection = "Ephemeris";

// Lines of a keyword and its value.
enum class Setting { Epoch, CentralBody, Frame, Unit, CovarianceTriangle, CovarianceFrame, NotNeeded };
constexpr Named<Setting> kSettings[] = {
    {"ScenarioEpoch", Setting::Epoch},
    {"CentralBody", Setting::CentralBody},
    {"CoordinateSystem", Setting::Frame},
    {"CoordinateSystemEpoch", Setting::NotNeeded},  // the frames above need none
    {"DistanceUnit", Setting::Unit},
    {"CovarianceFormat", Setting::CovarianceTriangle},
    {"CovarianceCoordinateSystem", Setting::CovarianceFrame},
    {"NumberOfEphemerisPoints", Setting::NotNeeded},
    {"NumberOfCovariancePoints", Setting::NotNeeded},
    {"InterpolationMethod", Setting::NotNeeded},
    {"InterpolationOrder", Setting::NotNeeded},
    {"InterpolationSamplesM1", Setting::NotNeeded},
    {"BlockingFactor", Setting::NotNeeded},
};

template <class Value, std::size_t N>
const Named<Value>* find(const Named<Value> (&table)[N], std::string_view word) noexcept {
    const auto* const found = std::find_if(std::begin(table), std::end(table),
                                           [=](const Named<Value>& row) { return isWord(row.name, word); });
    return found != std::end(table) ? found : nullptr;
}

// "keyword word is not read; A, B, C are"
template <class Value, std::size_t N>
MessageText notRead(std::string_view keyword, std::string_view word, const Named<Value> (&table)[N]) noexcept {
    MessageText text(keyword);
    if (!keyword.empty() && !word.empty()) text << " ";
    text << word << " is not read; ";
    for (std::size_t k = 0; k < N; ++k)
        text << (k == 0 ? "" : ", ") << table[k].name;
    return text << (N == 1 ? " is" : " are");
}

}  // namespace vorlandi::stk
