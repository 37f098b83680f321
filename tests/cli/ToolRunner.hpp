// What the tests of the command line tool stand on: running the program in a directory of its own with its streams
// taken apart, and the ephemeris files that it is given.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorlandi::cli_tests {

namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

inline constexpr int kKilled = -1;

struct Outcome {
    int status = kKilled;
    std::string output;
    std::string messages;
};

inline std::string contentsOf(const fs::path& path) {
    std::ostringstream contents;
    contents << std::ifstream(path, std::ios::binary).rdbuf();
    return contents.str();
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

inline std::vector<std::string> fieldsOf(const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> fields;
    for (std::string field; std::getline(stream, field, ',');)
        fields.push_back(field);
    return fields;
}

inline bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Keys are the library's business; here they only have to be there.
inline std::string withoutKeys(const std::string& json) {
    return std::regex_replace(json, std::regex("\"key\":\"[0-9]+\""), "\"key\":K");
}

struct Vector6 {
    double x, y, z, vx, vy, vz;
};

// A circular orbit in the plane of x and y, whose states are known at any time.
inline Vector6 circularState(double seconds) {
    constexpr double kRadius_km = 7000.0;
    const double rate = std::sqrt(398600.8 / (kRadius_km * kRadius_km * kRadius_km));
    const double c = std::cos(rate * seconds);
    const double s = std::sin(rate * seconds);
    return {kRadius_km * c, kRadius_km * s, 0.0, -kRadius_km * rate * s, kRadius_km * rate * c, 0.0};
}

inline std::string pointLine(double seconds) {
    const Vector6 state = circularState(seconds);
    std::array<char, 256> line{};
    std::snprintf(line.data(), line.size(), "%.9f %.17g %.17g %.17g %.17g %.17g %.17g\n", seconds, state.x,
                  state.y, state.z, state.vx, state.vy, state.vz);
    return line.data();
}

inline constexpr const char* kHead =
    "stk.v.4.3\nScenarioEpoch 31 Jan 2026 00:00:00.000\nCentralBody Earth\nCoordinateSystem J2000\n"
    "DistanceUnit Kilometers\nEphemerisTimePosVel\n";
inline constexpr const char* kEnd = "end Ephemeris\n";

inline std::string circularEphemeris(int points, double first_s, double spacing_s) {
    std::string text = kHead;
    for (int i = 0; i < points; ++i)
        text += pointLine(first_s + i * spacing_s);
    return text + kEnd;
}

inline constexpr const char* kOneTo21 = "1 2 3 4 5 6 7\n8 9 10 11 12 13 14\n15 16 17 18 19 20 21\n";

// Two points with numbers that have a short exact form, the second with a covariance.
inline std::string covarianceEphemeris(const std::string& second = kOneTo21) {
    std::string head(114, ' ');
    head.replace(1, 5, "81002")
        .replace(51, 17, "2026031000000.000")
        .replace(106, 5, "WICOV")
        .replace(112, 2, "SP");
    const std::string state =
        "     7000.500000    -1234.250000        0.125000     1.500000000     7.250000000"
        "    -0.125000000\n";
    return head + "\n   26031000000.000" + state + "0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n" +
           "   26031002230.000" + state + second;
}

class CommandLine : public testing::Test {
protected:
    CommandLine() {
        std::string name = (fs::temp_directory_path() / "vorlandi-cli-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
        home_ = name;
        fs::create_directory(directory());
        unsetenv("NO_COLOR");
    }
    ~CommandLine() override { fs::remove_all(home_); }

    fs::path directory() const { return home_ / "files"; }

    void write(const std::string& name, const std::string& text) const {
        std::ofstream(directory() / name, std::ios::binary) << text;
    }

    void writeOrbit(const std::string& name) const { write(name, circularEphemeris(10, 0.0, 60.0)); }

    Outcome run(const Arguments& arguments) const {
        return runIn(directory(), arguments, (home_ / "output").string());
    }

    Outcome runInExamples(const Arguments& arguments) const {
        return runIn(VORLANDI_EXAMPLES, arguments, (home_ / "output").string());
    }

    Outcome runTo(const std::string& output, const Arguments& arguments) const {
        return runIn(directory(), arguments, output);
    }

    Outcome runIn(const fs::path& where, const Arguments& arguments, const std::string& output) const {
        const std::string messages = (home_ / "messages").string();
        const pid_t child = start(where, arguments, [&] {
            dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
            dup2(open(messages.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        });
        const int status = statusOf(child);
        return {status, fs::is_regular_file(output) ? contentsOf(output) : "", contentsOf(messages)};
    }

    // The reader of the output reads a little and goes away.
    Outcome runIntoClosingPipe(const Arguments& arguments) const {
        std::array<int, 2> pipe_ends{};
        EXPECT_EQ(pipe(pipe_ends.data()), 0);
        const std::string messages = (home_ / "messages").string();
        const pid_t child = start(directory(), arguments, [&] {
            dup2(pipe_ends[1], STDOUT_FILENO);
            dup2(open(messages.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
            close(pipe_ends[0]);
            close(pipe_ends[1]);
        });
        close(pipe_ends[1]);
        std::array<char, 100> start_of_output{};
        const ssize_t size = read(pipe_ends[0], start_of_output.data(), start_of_output.size());
        close(pipe_ends[0]);
        const int status = statusOf(child);
        return {status, {start_of_output.data(), static_cast<std::size_t>(size)}, contentsOf(messages)};
    }

    // With a terminal for standard error.
    Outcome runOnTerminal(const Arguments& arguments) const {
        const int master = posix_openpt(O_RDWR | O_NOCTTY);
        EXPECT_EQ(grantpt(master) | unlockpt(master), 0);
        const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
        const pid_t child = start(directory(), arguments, [&] {
            dup2(terminal, STDERR_FILENO);
            dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        });
        close(terminal);
        Outcome result;
        std::array<char, 4096> part{};
        for (ssize_t size; (size = read(master, part.data(), part.size())) > 0;)
            result.messages.append(part.data(), static_cast<std::size_t>(size));
        close(master);
        result.status = statusOf(child);
        return result;
    }

private:
    static pid_t start(const fs::path& where, const Arguments& arguments,
                       const std::function<void()>& redirect) {
        std::vector<char*> words = {const_cast<char*>("vorlandi")};
        for (const std::string& argument : arguments)
            words.push_back(const_cast<char*>(argument.c_str()));
        words.push_back(nullptr);
        const pid_t child = fork();
        if (child != 0) return child;
        redirect();
        if (chdir(where.c_str()) == 0) execv(VORLANDI_CLI, words.data());
        _exit(127);
    }

    static int statusOf(pid_t child) {
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : kKilled;
    }

    fs::path home_;
};

}  // namespace vorlandi::cli_tests
