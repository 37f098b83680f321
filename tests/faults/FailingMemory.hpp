// Failing memory: replaces the C library's allocation and mapping functions, for the whole program and the shared
// libraries that it uses; `operator new` goes through malloc. It fails allocations on demand and counts what is
// allocated. For programs with one thread.
#pragma once

#include <cstdint>

namespace vorlandi::faults {

enum class Failing { Once, Lasting };

// Fails the n-th allocation or mapping from now on, n from 1, alone or with all that follow it, until stopFailing().
void failAllocation(int n, Failing failing);

// Was the n-th one reached?
bool stopFailing();

// The memory that is currently allocated and mapped.
struct LiveMemory {
    std::int64_t blocks, bytes, mappedBytes;
    bool operator==(const LiveMemory&) const = default;
    LiveMemory operator-(const LiveMemory& other) const {
        return {blocks - other.blocks, bytes - other.bytes, mappedBytes - other.mappedBytes};
    }
};
LiveMemory liveMemory();

}  // namespace vorlandi::faults
