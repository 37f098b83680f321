// Chunked reading: several threads read the lines of one large file, chunk by chunk, each into points of its own, and
// the thread that called appends the chunks in order. A chunk that can't be decided alone is left to that thread, which
// reads it again as if there were no others.
//
// 1. A chunk begins and ends where a group of lines does, and its lines must not depend on their place.
// 2. Points, reports and their order are the same as with one thread. All reports are made on the calling thread.
// 3. A chunk whose points do not all follow the ones before, that throws, or that reports more than there is room for,
//    is read again.
#pragma once

#include <cstddef>
#include <cstdint>

#include "CoreServices/InputUnits.hpp"

namespace vorlandi {

class BlockInput;
struct Vorlanrecord;

// May several threads read a file? One request for each file: it also notes whether threads are worthwhile.
struct ThreadRequest {
    bool isAllowed = false;
    unsigned most = 0;                      // threads, the calling one included; 0: processors of the process
    std::int64_t fromBytes = 16 << 20;      // smaller files are read by one thread
    std::int64_t bytesPerThread = 4 << 20;  // each has at least this much to do
    std::size_t chunkBytes = std::size_t{1} << 18;
};

// Reads the lines of a part of the file, up to its end or to a line that is not for it, which it leaves.
class PartReader {
public:
    template <class Read>
    explicit PartReader(const Read& read) noexcept
        : read_(&read), call_([](const void* callee, BlockInput& part, Vorlanrecord& record) {
              (*static_cast<const Read*>(callee))(part, record);
          }) {}

    void operator()(BlockInput& part, Vorlanrecord& record) const { call_(read_, part, record); }

private:
    const void* read_;
    void (*call_)(const void*, BlockInput&, Vorlanrecord&);
};

// Reads what it can of the lines that follow in `input`, whose unit is `unit`, into a record. The rest, perhaps all of
// it, is left to the caller.
void readInChunks(BlockInput& input, InputUnit& unit, Vorlanrecord& record, LineGrouping grouping,
                  const PartReader& read, ThreadRequest& request);

}  // namespace vorlandi
