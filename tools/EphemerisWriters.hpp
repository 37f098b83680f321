// Writers of every ephemeris format, and of card files that name ephemeris files.
//
// All writers put the same numbers into their layouts, each under the frame that its format stands for and in
// its units. States are not rotated from one frame to another: what was written as ECI to one file and as ECR
// to another describes two different orbits, which is right for showing layouts and comparing readers.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Ephemeris.hpp"

namespace vorlandi::tools {

// Fixed columns.
void writeUniversal(const Ephemeris& ephemeris, std::ostream& stream);
void writeV31(const Ephemeris& ephemeris, std::ostream& stream);
void writeItc(const Ephemeris& ephemeris, std::ostream& stream);  // with covariance
void writeItcWithoutCovariance(const Ephemeris& ephemeris, std::ostream& stream);
void writeVector(const Ephemeris& ephemeris, std::ostream& stream);
void writeSimObs(const Ephemeris& ephemeris, std::ostream& stream);

// A time followed by a list of numbers.
void writeUniversalCsv(const Ephemeris& ephemeris, std::ostream& stream);
void writeStk(const Ephemeris& ephemeris, std::ostream& stream);
void writeEcr(const Ephemeris& ephemeris, std::ostream& stream);
void writeEcrPositions(const Ephemeris& ephemeris, std::ostream& stream);  // layout without velocities
void writeLch(const Ephemeris& ephemeris, std::ostream& stream);
void writeOasys(const Ephemeris& ephemeris, std::ostream& stream);
void writeOwner(const Ephemeris& ephemeris, std::ostream& stream);
void writeJ2k(const Ephemeris& ephemeris, std::ostream& stream);
void writeOem(const Ephemeris& ephemeris, std::ostream& stream);
void writeModifiedItc(const Ephemeris& ephemeris, std::ostream& stream);  // with covariance

// Launch trajectories: seconds of elapsed time, units of their own, no satellite number.
void writeLaunch(const Ephemeris& ephemeris, std::ostream& stream);
void writeEelv(const Ephemeris& ephemeris, std::ostream& stream);

void writeDceBinary(const Ephemeris& ephemeris, std::ostream& stream);
void writeDceText(const Ephemeris& ephemeris, std::ostream& stream);

struct EphemerisFormat {
    std::string_view name;
    std::string_view fileSuffix;  // file name after the satellite number
    std::int32_t largestSatelliteNumber;
    bool isVariant;    // a second layout of the format named before it
    bool isPractical;  // read by the practical rules alone
    void (*write)(const Ephemeris&, std::ostream&);
};

std::span<const EphemerisFormat> ephemerisFormats();
const EphemerisFormat* findEphemerisFormat(std::string_view name);  // null if there is none

// Satellite number, at least five digits, then the suffix: formats that take the number from the name find it
// there.
std::string ephemerisFileName(const EphemerisFormat& format, std::int32_t satelliteNumber);

// The next file read after a tag gets it as its label; without a tag none is written.
struct CardGroup {
    std::string tag;
    std::vector<std::string> fileNames;
};
void writeCards(std::string_view title, std::span<const CardGroup> groups, std::ostream& stream);

// Opens a file, lets the writer fill it and makes sure that every byte arrived. Throws std::runtime_error
// with the file's name and the reason.
void writeFile(const std::filesystem::path& path, const std::function<void(std::ostream&)>& writer);

}  // namespace vorlandi::tools
