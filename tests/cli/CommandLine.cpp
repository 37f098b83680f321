#include "CommandLine.hpp"

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <stdexcept>

namespace vorlandi::cli_tests {

std::string contentsOf(const fs::path& path) {
    std::ostringstream contents;
    contents << std::ifstream(path, std::ios::binary).rdbuf();
    return contents.str();
}

Lines split(const std::string& text, char separator) {
    std::istringstream stream(text);
    Lines parts;
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

std::string ephemerisAt(const std::vector<double>& times_s, const std::string& epoch) {
    std::ostringstream text;
    text << "stk.v.4.3\nScenarioEpoch " << epoch << "\nDistanceUnit Kilometers\nEphemerisTimePosVel\n"
         << std::setprecision(17);
    for (const double time_s : times_s)
        text << time_s << ' ' << 7000.0 + time_s << " 0 0 1 0 0\n";
    text << "end Ephemeris\n";
    return text.str();
}

std::string ephemeris(int points, double first_s, double spacing_s) {
    std::vector<double> times_s;
    times_s.reserve(static_cast<std::size_t>(points));
    for (int i = 0; i < points; ++i)
        times_s.push_back(first_s + i * spacing_s);
    return ephemerisAt(times_s);
}

std::string covarianceEphemeris(const std::string& covariance) {
    std::string head(114, ' ');
    head.replace(1, 5, "81002").replace(51, 17, "2026031000000.000").replace(106, 8, "WICOV SP");
    const std::string state =
        "     7000.500000    -1234.250000        0.125000     1.500000000     7.250000000    -0.125000000\n";
    return head + "\n   26031000000.000" + state + "0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n   26031002230.000" +
           state + covariance;
}

CommandLine::CommandLine() {
    std::string name = (fs::temp_directory_path() / "vorlandi-cli-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    home_ = name;
    fs::permissions(home_, fs::perms(0755));
    fs::create_directories(home_ / "files" / "folder");
    write("81001.e", ephemeris(10));
    write("81002.itc", covarianceEphemeris("1 2 3 4 5 6 7\n8 9 10 11 12 13 14\n15 16 17 18 19 20 21\n"));
}

CommandLine::~CommandLine() { fs::remove_all(home_); }

void CommandLine::write(const std::string& name, const std::string& text) const {
    std::ofstream(file(name), std::ios::binary) << text;
}

Outcome CommandLine::shell(const std::string& line) const {
    const std::string path = fs::path(VORLANDI_CLI).parent_path().string(), home = home_.string();
    const std::string script =
        "PATH='" + path + "':$PATH; unset NO_COLOR; cd '" + home + "/files'; (" + line + ") >../output 2>../messages";
    const int status = std::system(script.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentsOf(home_ / "output"), contentsOf(home_ / "messages")};
}

Lines CommandLine::temporaryFiles() const {
    Lines names;
    for (const auto& entry : fs::recursive_directory_iterator(file("")))
        if (entry.path().filename().string().starts_with('.')) names.push_back(entry.path().string());
    return names;
}

}  // namespace vorlandi::cli_tests
