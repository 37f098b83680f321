// Several threads read one file with the result of one thread.
#include <filesystem>
#include <random>
#include <set>
#include <thread>

#include "scanning/WholeLoad.hpp"

namespace vorlandi::testing {
namespace {

class ChunkedReading : public WholeLoadTest {
protected:
    Lines load(std::string_view text, const std::string& name, LoadRequest request, std::size_t chunkBytes) {
        request.threads = {chunkBytes > 0, 3, 0, 1, chunkBytes};
        return everythingOf(memorySource(text), name, request);
    }
};

std::vector<std::string> linesOf(const std::string& file) {
    std::vector<std::string> lines;
    const std::string text = readFile(VORLANDI_EXAMPLES "/" + file);
    for (std::size_t at = 0, end = 0; at < text.size(); at = end + 1) {
        end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
    }
    return lines;
}

TEST_F(ChunkedReading, HasTheResultOfOneThreadForAnyFile) {
    const std::string other = folder.write("other", "5\n1 1 0 20485/\n\n");
    const std::string faults[] = {"",
                                  "   ",
                                  "garbage",
                                  "* comment",
                                  "# comment",
                                  "1 2 3",
                                  "#VORLANDI = tag",
                                  "EPHFIL = " + other,
                                  "END Ephemeris",
                                  "end Ephemeris",
                                  "created:2026-01-31 00:00:00 UTC",
                                  "CovarianceTimePosVel",
                                  "DistanceUnit Kilometers",
                                  "7",
                                  "EphemerisTimePos",
                                  "BEGIN SegmentBoundaryTimes",
                                  "KQ_UNIVERSAL_VORLANDI_V1.0        81002HCSRL",
                                  std::string(70'000, 'x'),
                                  std::string(300, '\0'),
                                  "26031000000.000 1.0 2.0 3.0 4.0 5.0 6.0\r"};
    const struct {
        std::string file;
        bool fixedRules, practicalRules;
    } formats[] = {
        {"81001_stk.e", true, true},
        {"81001_universal.txt", true, true},
        {"81001_universal_csv.txt", true, true},
        {"81001_itc.txt", true, true},
        {"81001_j2k.txt", true, true},
        {"81001_owner.txt", true, true},
        {"81001_modified_itc.txt", false, true},
        {"81001_lch.txt", true, true},
        {"81001_eelv.txt", true, true},
    };
    std::mt19937_64 random(testSeed());
    for (const auto& format : formats) {
        const std::vector<std::string> lines = linesOf(format.file);
        for (int round = 0; round < 40; ++round) {
            std::vector<std::string> edited = lines;
            for (auto left = random() % 6; left > 0; --left) {
                const auto at = edited.begin() + static_cast<std::ptrdiff_t>(random() % edited.size());
                const auto to = edited.begin() + static_cast<std::ptrdiff_t>(random() % edited.size());
                switch (random() % 5) {
                    case 0:
                        edited.insert(at, faults[random() % std::size(faults)]);
                        break;
                    case 1:
                        *at = faults[random() % std::size(faults)];
                        break;
                    case 2:
                        at->resize(at->size() / 2);
                        break;
                    case 3:
                        std::swap(*at, *to);
                        break;
                    default:
                        edited.insert(at, std::string(*to));
                        break;  // late, a repetition or a seam
                }
            }
            if (random() % 8 == 0) edited.insert(edited.end(), lines.begin(), lines.end());
            std::string text = random() % 8 == 0 ? "\xEF\xBB\xBF" : "";
            for (const std::string& line : edited)
                text += line + "\n";
            if (random() % 4 == 0) text.pop_back();
            LoadRequest request{format.practicalRules && (!format.fixedRules || random() % 2 == 0)
                                    ? ReadingRules::practical()
                                    : ReadingRules::fixed()};
            const std::size_t chunkBytes = 100 + random() % 8'000;
            const std::string name = "MEME_81001_NAME_" + format.file;
            ASSERT_EQ(load(text, name, request, chunkBytes), load(text, name, request, 0))
                << format.file << ", round " << round << ", seed " << testSeed() << ", chunks of " << chunkBytes;
        }
    }
}

// More reports in a chunk than are kept, points that are all too early, and an observer that throws.
TEST_F(ChunkedReading, LeavesToTheCallingThreadWhatAChunkCannotDecide) {
    std::vector<std::string> lines = linesOf("81001_owner.txt");
    const std::vector<std::string> good = lines;
    for (int k = 0; k < 200; ++k)
        lines.push_back("26031050000.000 bad " + std::string(300, 'y'));
    lines.insert(lines.end(), good.begin(), good.end());
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    for (const ReadingRules rules : {ReadingRules::fixed(), ReadingRules::practical()})
        EXPECT_EQ(load(text, "81001.txt", LoadRequest{rules}, 30'000), load(text, "81001.txt", LoadRequest{rules}, 0));
}

std::set<std::string> runningThreads() {
    std::set<std::string> ids;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task"))
        ids.insert(task.path().filename().string());
    return ids;
}

TEST_F(ChunkedReading, StartsThreadsOnlyForALargeFileAndIfTheCallerAllows) {
    // All threads run until the last read, whichever of them the machine lets read.
    struct WatchingSource : ToldSource {
        WatchingSource(std::string_view text, std::set<std::string>& ids) : ToldSource(text, true), seen(ids) {}
        std::int64_t read(char* bytes, std::size_t capacity) override {
            seen.merge(runningThreads());
            return ToldSource::read(bytes, capacity);
        }
        std::set<std::string>& seen;
    };
    const std::string header = "KQ_UNIVERSAL_VORLANDI_V1.0        81001HCSRL\n", blank(511, ' ');
    std::string text = header + std::string((16 << 20) - header.size(), ' ');
    for (std::size_t at = header.size(); at < text.size(); at += 512)
        text[at] = '\n';
    const struct {
        bool allowed;
        unsigned most;
        std::size_t cut;
        std::size_t threads;
    } cases[] = {{true, 2, 0, 2}, {true, 9, 0, 3}, {false, 3, 0, 1}, {true, 1, 0, 1}, {true, 3, 1, 1}};
    std::thread([] {}).join();  // a sanitizer starts one of its own with the first
    for (const auto& [allowed, most, cut, threads] : cases) {
        LoadRequest request;
        request.threads.isAllowed = allowed;
        request.threads.most = most;
        const auto bytes = std::string_view(text).substr(0, text.size() - cut);
        std::set<std::string> seen;
        const std::set<std::string> before = runningThreads();
        everythingOf(std::make_unique<WatchingSource>(bytes, seen), "81001.txt", request);
        for (const std::string& id : before)
            seen.erase(id);
        EXPECT_EQ(seen.size() + 1, threads) << allowed << " " << most << " " << cut;
    }
}

}  // namespace
}  // namespace vorlandi::testing
