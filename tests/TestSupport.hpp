// Shared by the tests: the messages of the log, temporary files, and ephemerides read from memory.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "CoreServices/InputUnits.hpp"
#include "Vorlandi/VorlandiCardReading/ReadingRules.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi::testing {

// Collects the messages that are logged while it lives. One at a time.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The errors, or the information messages, since the start or the last call of clear().
    std::vector<std::string> errors() const;
    std::vector<std::string> infos() const;
    void clear();

private:
    struct Entry {
        std::int32_t severity;
        std::string text;
    };
    std::vector<std::string> ofSeverity(std::int32_t severity) const;
    static void receive(std::int32_t severity, const char* text, std::int32_t size, void* self);

    std::vector<Entry> entries_;
};

// A test of the store: it begins and ends empty, with the key modes at 0 and the log captured.
class StoreTest : public ::testing::Test {
protected:
    StoreTest();
    ~StoreTest() override;

    LogCapture log;
};

// A folder that is removed with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    // Writes a file and returns its path.
    std::string write(const std::string& name, std::string_view text) const;
    std::string path(const std::string& name) const { return (folder_ / name).string(); }

private:
    std::filesystem::path folder_;
};

std::string readFile(const std::string& path);

// A named pipe and its reader, which reads only on request.
class Pipe {
public:
    explicit Pipe(std::string path);
    ~Pipe() { closeReader(); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    const std::string& path() const { return path_; }
    void openReader();
    void closeReader();
    int reader() const { return reader_; }

    // All that is in the pipe now.
    std::string take() const;

private:
    std::string path_;
    int reader_ = -1;
};

// The number of descriptors that the process has open.
std::ptrdiff_t openDescriptors();

// A copy of the stored record of a key; an empty record, without a name, if there is none.
Vorlanrecord storedRecord(std::int64_t key);

// What an ephemeris pass over a text has stored.
struct Loaded {
    std::int32_t status;
    std::vector<std::int64_t> keys;     // in the order of storing
    std::vector<Vorlanrecord> records;  // copies, in the same order
    std::vector<std::string> errors;    // messages
    std::vector<std::string> infos;
};

// Reads a text as the file `fileName` in one ephemeris pass, into an empty store that is emptied again.
Loaded load(std::string_view text, std::string_view fileName = "test.txt", ReadingRules rules = ReadingRules::fixed());

// A unit whose bytes arrive in pieces of at most `piece`, and fail after `failAt`.
InputUnit slowUnit(std::string bytes, std::size_t piece, std::size_t failAt = SIZE_MAX);

// The seed of a random test: VORLANDI_TEST_SEED, or a fixed one.
std::uint64_t testSeed();

// The number of representable doubles between two finite values; a huge number if either is a NaN.
double ulpsBetween(double a, double b);

}  // namespace vorlandi::testing
