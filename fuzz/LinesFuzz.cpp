// Lines of an input unit against a plain model of them. A byte 1 in the input stands for a run of blanks
// longer than half a buffer, so that small inputs make long lines.
#include <algorithm>

#include "FuzzSupport.hpp"

namespace vorlandi::fuzzing {
namespace {

constexpr std::size_t kMostRuns = 5;
constexpr std::size_t kRun = 33'000;

std::string expanded(std::string_view input) {
    std::string text;
    std::size_t runs = 0;
    for (const char c : input) {
        if (c == '\1' && runs++ < kMostRuns) {
            text.append(kRun, '-');
        } else {
            text += c;
        }
    }
    return text;
}

// The lines by their rules, from the whole text.
std::vector<std::string> linesOf(std::string_view text, std::size_t maxColumns) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    std::vector<std::string> lines;
    while (!text.empty()) {
        const auto lineEnd = text.find('\n');
        std::string_view line = text.substr(0, lineEnd);
        if (lineEnd != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
        lines.emplace_back(line.substr(0, maxColumns));
        std::replace(lines.back().begin(), lines.back().end(), '\0', ' ');
        text.remove_prefix(lineEnd == std::string_view::npos ? text.size() : lineEnd + 1);
    }
    return lines;
}

std::vector<std::string> readLines(InputUnit& unit, std::size_t maxColumns) {
    std::vector<std::string> lines;
    std::string_view line;
    while (unit.readLine(maxColumns, line) == ReadOutcome::Success)
        lines.emplace_back(line);
    return lines;
}

void check(std::unique_ptr<ByteSource> source, const std::vector<std::string>& lines,
           std::size_t maxColumns) {
    InputUnit unit(std::move(source));
    require(readLines(unit, maxColumns) == lines, "lines as their rules say");
    require(unit.atEnd(), "nothing is left");
    unit.rewind();
    require(readLines(unit, maxColumns) == lines, "the same lines after a rewind");
}

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerInitialize(int*, char***) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    const std::string text = expanded(textOf(data, size));
    for (const std::size_t maxColumns : {std::size_t{512}, vorlandi::InputUnit::kLongestLine}) {
        const auto lines = linesOf(text, maxColumns);
        check(vorlandi::memorySource(text), lines, maxColumns);
        if (text.size() < 4096) check(piecewiseSource(text), lines, maxColumns);
    }
    return 0;
}
