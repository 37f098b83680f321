#include "TestSupport.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "CoreServices/KeyModes.hpp"
#include "CoreServices/TraceLog.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi::testing {

LogCapture::LogCapture() { setTraceHandler(receive, this); }
LogCapture::~LogCapture() { setTraceHandler(nullptr, nullptr); }

void LogCapture::receive(std::int32_t severity, const char* text, std::int32_t size, void* self) {
    static_cast<LogCapture*>(self)->entries_.push_back({severity, std::string(text, static_cast<std::size_t>(size))});
}

std::vector<std::string> LogCapture::ofSeverity(std::int32_t severity) const {
    std::vector<std::string> texts;
    for (const Entry& entry : entries_) {
        if (entry.severity == severity) texts.push_back(entry.text);
    }
    return texts;
}

std::vector<std::string> LogCapture::errors() const { return ofSeverity(VORLAN_TRACE_ERROR); }
std::vector<std::string> LogCapture::infos() const { return ofSeverity(VORLAN_TRACE_INFO); }
void LogCapture::clear() { entries_.clear(); }

namespace {

void resetStore() {
    vorlanemptytree();
    setAllKeyMode(0, 0);
    setElsetKeyMode(0);
    setDupKeyMode(0);
}

}  // namespace

StoreTest::StoreTest() {
    resetStore();
    const char* const mode = std::getenv("VORLANDI_TEST_GUARD");
    VorlanSetGuardMode(mode != nullptr && mode == std::string_view("safe") ? VORLAN_GUARD_SAFE : VORLAN_GUARD_FIXED);
}
StoreTest::~StoreTest() { resetStore(); }

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vorlandi-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string TemporaryFolder::write(const std::string& name, std::string_view text) const {
    std::ofstream(folder_ / name, std::ios::binary) << text;
    return path(name);
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Pipe::Pipe(std::string path) : path_(std::move(path)) {
    if (::mkfifo(path_.c_str(), 0600) != 0) throw std::runtime_error("no pipe");
}

void Pipe::openReader() { reader_ = ::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); }

void Pipe::closeReader() {
    if (reader_ >= 0) ::close(std::exchange(reader_, -1));
}

std::string Pipe::take() const {
    std::string bytes;
    char some[4096];
    for (ssize_t count; (count = ::read(reader_, some, sizeof some)) > 0;)
        bytes.append(some, static_cast<std::size_t>(count));
    return bytes;
}

std::ptrdiff_t openDescriptors() { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); }

Vorlanrecord storedRecord(std::int64_t key) {
    const RecordAccess record(key);
    return record ? *record : Vorlanrecord{};
}

Loaded load(std::string_view text, std::string_view fileName, ReadingRules rules) {
    resetStore();
    const LogCapture log;
    InputUnit unit(memorySource(text));
    InputTag tag;
    Loaded loaded;
    Load load(LoadRequest{rules});
    loaded.status = load.statusWith(ReadOnlyVorlans(unit, {fileName}, tag, load));
    loaded.keys.resize(static_cast<std::size_t>(vorlangetnumoftreenodes()));
    std::int32_t count = 0;
    vorlangettreekeys(count, loaded.keys.data(), 2);
    for (const std::int64_t key : loaded.keys)
        loaded.records.push_back(storedRecord(key));
    loaded.errors = log.errors();
    loaded.infos = log.infos();
    resetStore();
    return loaded;
}

namespace {

struct SlowSource : ByteSource {
    std::int64_t read(char* to, std::size_t capacity) override {
        if (at >= failAt) return -1;
        const std::size_t count = bytes.copy(to, std::min({capacity, piece, failAt - at}), at);
        at += count;
        return static_cast<std::int64_t>(count);
    }
    bool rewind() override {
        at = 0;
        return true;
    }
    std::string bytes;
    std::size_t piece = 0, failAt = 0, at = 0;
};

}  // namespace

InputUnit slowUnit(std::string bytes, std::size_t piece, std::size_t failAt) {
    auto source = std::make_unique<SlowSource>();
    source->bytes = std::move(bytes);
    source->piece = piece;
    source->failAt = failAt;
    return InputUnit(std::move(source));
}

std::uint64_t testSeed() {
    const char* const given = std::getenv("VORLANDI_TEST_SEED");
    return given != nullptr ? std::strtoull(given, nullptr, 10) : 20260131;
}

double ulpsBetween(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) return 1e300;
    const auto ordered = [](double value) {
        const auto bits = std::bit_cast<std::int64_t>(value);
        return bits < 0 ? INT64_MIN - bits : bits;
    };
    return std::abs(static_cast<double>(ordered(a)) - static_cast<double>(ordered(b)));
}

}  // namespace vorlandi::testing
