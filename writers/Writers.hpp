// Writers of every ephemeris format. Each writes a whole file, except OEM and CZML, which hold several satellites.
//
// A writer requires that its format can hold the ephemeris: problemOf (Targets.hpp) checks that. States are never
// converted between frames. Does not use the library, so that the output can test it.
#pragma once

#include <string>
#include <vector>

#include "writers/Ephemeris.hpp"
#include "writers/Lines.hpp"

namespace vorlandi::writers {

// What files say besides the points. Texts are printable ASCII, one line each.
struct Options {
    std::string source;                 // where the states come from
    std::string created;                // as 2026-01-31T00:00:00
    std::vector<std::string> comments;  // STK and OEM: at the beginning of the file

    std::string universalFrame;  // for a frame that has no name there

    std::string oemVersion = "3.0";
    std::string originator = "UNKNOWN";
    std::string objectName;  // empty: the satellite's number
    std::string objectId;    // the same
    std::string refFrame;    // empty: by the frame
    bool useable = false;    // names the times between which all four points around a time are in the segment

    // CZML: times of the first and the last point of all satellites.
    double first = 0.0;
    double last = 0.0;
};

// Fixed columns.
void writeUniversal(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeV31(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeItc(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeVector(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeSimObs(const Ephemeris& ephemeris, const Options& options, Lines& out);

// A time followed by a list of numbers.
void writeUniversalCsv(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeEcr(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeEcrPositions(const Ephemeris& ephemeris, const Options& options, Lines& out);  // layout without velocities
void writeLch(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeOasys(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeOwner(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeJ2k(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeModifiedItc(const Ephemeris& ephemeris, const Options& options, Lines& out);

void writeStk(const Ephemeris& ephemeris, const Options& options, Lines& out);

// One record of fourteen values per point.
void writeDceBinary(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeDceText(const Ephemeris& ephemeris, const Options& options, Lines& out);

// Launch trajectories: seconds of elapsed time, units of their own, no satellite number.
void writeLaunch(const Ephemeris& ephemeris, const Options& options, Lines& out);
void writeEelv(const Ephemeris& ephemeris, const Options& options, Lines& out);

// The beginning of a file, then the satellites, then the end where there is one.
void beginOem(const Options& options, Lines& out);
void writeOem(const Ephemeris& ephemeris, const Options& options, Lines& out);
void beginCzml(const Options& options, Lines& out);
void writeCzml(const Ephemeris& ephemeris, const Options& options, Lines& out);
void endCzml(const Options& options, Lines& out);

}  // namespace vorlandi::writers
