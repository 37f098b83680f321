// The answers have the same bits with every compiler and on every processor: a hash of states and covariances
// from every example file.
//   vorlandi_answer_bits EXAMPLES_DIR
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

namespace {

constexpr std::uint64_t kExpected = 0x29559C7BDB813367U;
constexpr int kRequests = 1009;  // for a file, evenly over its span

class Hash {
public:
    void add(std::uint64_t bits) { value_ = (value_ ^ bits) * 1099511628211U; }
    void add(double number) { add(std::bit_cast<std::uint64_t>(number)); }
    std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 14695981039346656037U;  // FNV-1a
};

// The files of one satellite, in an order that doesn't depend on the system. The times of a launch trajectory are
// counted from the day of reading, so its answers differ from day to day. OEM has the states of other files.
std::vector<std::string> exampleFiles(const char* folder) {
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (name.starts_with("81001") && !name.ends_with(".csv") && !name.ends_with("launch.txt") &&
            !name.ends_with("oem.txt"))
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The key of the file's satellite. Formats that the fixed rules do not read are read by the practical ones.
std::int64_t load(const std::string& file) {
    if (!file.ends_with("modified_itc.txt")) return VorlanAddSatFrFile(file.c_str());
    std::int64_t key = 0, count = 0;
    VorlanLoadFileExt(file.c_str(), VORLAN_LOAD_PRACTICAL, 1, &key, &count);
    return key;
}

// Returns the number of requests that failed.
int addAnswers(std::int64_t key, Hash& hash) {
    double start = 0.0, end = 0.0;
    VorlanStartEndTime(key, &start, &end);
    int failures = 0;
    for (int k = 0; k <= kRequests; ++k) {
        const double time = k == kRequests ? end : start + (end - start) * k / kRequests;
        double minutes = 0.0, position[3], velocity[3], covariance[6][6];
        std::int32_t revolution = 0;
        failures += VorlanDs50UTCCovMtx(key, time, &minutes, position, velocity, &revolution, covariance) != 0;
        hash.add(minutes);
        for (int i = 0; i < 3; ++i) {
            hash.add(position[i]);
            hash.add(velocity[i]);
        }
        for (const auto& row : covariance)
            for (const double element : row)
                hash.add(element);
        hash.add(static_cast<std::uint64_t>(revolution));
    }
    return failures;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    Hash hash;
    int failures = 0, files = 0;
    for (const std::string& file : exampleFiles(argv[1])) {
        VorlanRemoveAllSats();
        const std::int64_t key = load(file);
        const int failed = key > 0 ? addAnswers(key, hash) : kRequests;
        if (failed > 0) std::printf("%s: %d requests failed\n", file.c_str(), failed);
        failures += failed;
        ++files;
    }
    std::printf("%d files, hash %016llX\n", files, static_cast<unsigned long long>(hash.value()));
    return files > 0 && failures == 0 && hash.value() == kExpected ? 0 : 1;
}
