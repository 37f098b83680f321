// Frees all memory when the library is unloaded while the process goes on, and none when the process ends: other
// threads may then still be querying, and the system frees the memory anyway.
//
// The two are told apart by their order. When a library is unloaded its destructor functions run before the handlers
// that it has registered for the end of the process; when the process ends it is the other way round.
#include <cstdlib>

#include "CoreServices/DmaObjects.hpp"
#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/LeapSeconds.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

bool processEnds = false;
[[maybe_unused]] const int kRegistered = std::atexit([] { processEnds = true; });

__attribute__((destructor)) void giveMemoryBack() {
    if (processEnds) return;
    setTraceHandler(nullptr, nullptr);
    vorlanemptytree();
    closeTraceFile();
    freeRecordPools();
    freedmaobjects();
    freeLeapTables();
}

}  // namespace
}  // namespace vorlandi
