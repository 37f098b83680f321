// What the commands that check satellites share.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CheckReport.hpp"
#include "CommandParser.hpp"
#include "LoadListener.hpp"
#include "analysis/Check.hpp"

namespace vorlandi::cli {

// The kinds of findings that are wanted: --only and --skip.
struct KindChoice {
    std::vector<std::string> only;
    std::vector<std::string> skip;

    // Throws a UsageError if --skip leaves out all that --only names.
    void requireSome() const;
    // `not-examined` is left out only by name, since it can hide findings of any kind.
    bool leavesOut(analysis::Kind kind) const;
    void keepWanted(std::vector<analysis::Finding>& findings) const;
};
void addKindChoice(CLI::App& command, KindChoice& kinds);

// The satellites of a load, without the first `earlier` ones of the store, in the order of loading.
std::vector<CheckedSatellite> satellitesToCheck(const LoadResults& results, const std::vector<std::int32_t>& numbers,
                                                std::size_t earlier = 0);

// The result doesn't depend on the threads.
void checkAll(std::vector<CheckedSatellite>& satellites, const analysis::CheckOptions& options, const Span& range,
              unsigned threads);

}  // namespace vorlandi::cli
