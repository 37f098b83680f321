// The names that formats give to coordinate systems.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>

#include "writers/Ephemeris.hpp"

namespace vorlandi::writers {

struct FrameName {
    Frame frame;
    std::string_view name;
};
using FrameNames = std::span<const FrameName>;

// Empty if the format has none.
inline std::string_view nameIn(FrameNames names, Frame frame) {
    const auto found = std::ranges::find(names, frame, &FrameName::frame);
    return found == names.end() ? std::string_view{} : found->name;
}

inline constexpr FrameName kStkFrames[] = {{Frame::Eci, "TEMEOfDate"}, {Frame::J2k, "J2000"}, {Frame::Ecr, "Fixed"}};
inline constexpr FrameName kUniversalFrames[] = {
    {Frame::Hcsrl, "HCSRL"}, {Frame::Wptrl, "WPTRL"}, {Frame::Hcsgc, "HCSGC"}, {Frame::Wptgc, "WPTGC"}};
inline constexpr FrameName kV31Frames[] = {{Frame::Eci, "ECI"}, {Frame::Efg, "EFG"}};
inline constexpr FrameName kFourFrames[] = {
    {Frame::Eci, "ECI"}, {Frame::J2k, "J2K"}, {Frame::Efg, "EFG"}, {Frame::Ecr, "ECR"}};
inline constexpr FrameName kEciAlone[] = {{Frame::Eci, "ECI"}};
inline constexpr FrameName kJ2kAlone[] = {{Frame::J2k, "J2K"}};
inline constexpr FrameName kEcrAlone[] = {{Frame::Ecr, "ECR"}};
inline constexpr FrameName kModifiedItcFrames[] = {
    {Frame::J2k, "MEME"}, {Frame::Eci, "TEME"}, {Frame::Efg, "EFG"}, {Frame::Ecr, "ECR"}};
inline constexpr FrameName kOemFrames[] = {
    {Frame::J2k, "EME2000"}, {Frame::Eci, "TEMEOFDATE"}, {Frame::Efg, "EFG"}, {Frame::Ecr, "ITRF"}};
inline constexpr FrameName kOem2Frames[] = {{Frame::J2k, "EME2000"}};
inline FrameNames oemFrames(std::string_view version) {
    return version == "2.0" ? FrameNames(kOem2Frames) : FrameNames(kOemFrames);
}
inline constexpr FrameName kCzmlFrames[] = {
    {Frame::J2k, "INERTIAL"}, {Frame::Eci, "INERTIAL"}, {Frame::Ecr, "FIXED"}, {Frame::Efg, "FIXED"}};

}  // namespace vorlandi::writers
