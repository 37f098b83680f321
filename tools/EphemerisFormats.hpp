// The list of formats that the generators write, and the files that hold them.
//
// All files hold the same numbers, in the units of the format and under its frame. States are not converted between
// frames: the same numbers as ECI in one file and as ECR in another describe two different orbits, which is right for
// showing layouts and comparing readers.
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
#include "writers/Writers.hpp"

namespace vorlandi::tools {

struct EphemerisFormat {
    std::string_view name;
    std::string_view fileSuffix;  // file name after the satellite number
    std::int32_t largestSatelliteNumber;
    writers::Frame frame;
    bool withCovariance;
    bool isVariant;    // a second layout of the format named before it
    bool isPractical;  // read by the practical rules only
    void (*writer)(const Ephemeris&, const writers::Options&, writers::Lines&);
    std::string_view source = "integration";  // the source that the file names

    // Writes the ephemeris under the format's frame.
    void write(Ephemeris ephemeris, std::ostream& stream) const;
};

std::span<const EphemerisFormat> ephemerisFormats();
const EphemerisFormat* findEphemerisFormat(std::string_view name);  // null if there is none

// Satellite number, at least five digits, then the suffix: formats that take the number from the name find it
// there.
std::string ephemerisFileName(const EphemerisFormat& format, std::int32_t satelliteNumber);

// Lines of plain text for a stream.
writers::Lines linesOf(std::ostream& stream);

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
