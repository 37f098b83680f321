// Shared by the tests of the command line tool: they run the built program as a user does, in a folder with a few
// files, and check its output, its messages and its exit status.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

namespace vorlandi::cli_tests {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using Lines = std::vector<std::string>;

std::string contentsOf(const fs::path& path);
Lines split(const std::string& text, char separator = '\n');

// An STK file with a satellite that moves along x at 1 km/s, with a point at each of these seconds after
// 2026-01-31T00:00:00, or after another epoch.
std::string ephemerisAt(const std::vector<double>& times_s, const std::string& epoch = "31 Jan 2026 00:00:00.000");
std::string ephemeris(int points, double first_s = 0.0, double spacing_s = 60.0);

// An ITC file with two points 22.5 minutes apart, the second one with this covariance.
std::string covarianceEphemeris(const std::string& covariance);

struct Outcome {
    int status;
    std::string output, messages;
};

// Begins with 81001.e, which has ten points a minute apart, 81002.itc, which has two, and an empty folder.
class CommandLine : public testing::Test {
protected:
    CommandLine();
    ~CommandLine() override;

    fs::path file(const std::string& name) const { return home_ / "files" / name; }
    void write(const std::string& name, const std::string& text) const;

    // Runs a shell command in the folder.
    Outcome shell(const std::string& line) const;
    Outcome run(const std::string& arguments) const { return shell("vorlandi " + arguments); }

    // Names of the files that a program left behind under a temporary name.
    Lines temporaryFiles() const;

private:
    fs::path home_;
};

}  // namespace vorlandi::cli_tests
