// The exported functions of vorlandi/services.h.
#include "CoreServices/KeyModes.hpp"
#include "CoreServices/ReadObserver.hpp"
#include "CoreServices/Status.hpp"
#include "CoreServices/TraceLog.hpp"
#include "DllExports/DllDoor.hpp"
#include "Vorlandi/StoreGuard.hpp"
#include "vorlandi/services.h"

using namespace vorlandi;

extern "C" {

int32_t VorlanTraceOpen(const char* fileName) { return openTraceFile(fileNameOf(fileName)); }

void VorlanTraceClose(void) { closeTraceFile(); }

void VorlanTraceSetHandler(VorlanTraceHandler handler, void* userData) { setTraceHandler(handler, userData); }

void VorlanTraceGetHandler(VorlanTraceHandler* handler, void** userData) {
    const TraceHandler set = traceHandler();
    give(handler, set.call);
    give(userData, set.userData);
}

void VorlanTraceLastError(char message[512]) { lastTraceError().copyTo(message); }

void VorlanSetAllKeyMode(int32_t use, int32_t mode) { setAllKeyMode(use, mode); }

void VorlanSetElsetKeyMode(int32_t mode) { setElsetKeyMode(mode); }

void VorlanSetDupKeyMode(int32_t mode) { setDupKeyMode(mode); }

void VorlanGetKeyModes(int32_t* useAll, int32_t* allMode, int32_t* elsetMode, int32_t* dupMode) {
    give(useAll, useallkeymode());
    give(allMode, allkeymodeget());
    give(elsetMode, elsetkeymodeget());
    give(dupMode, dupkeymodeget());
}

int32_t VorlanSetGuardMode(int32_t mode) { return setGuardMode(mode) ? kSuccess : kFailure; }

int32_t VorlanGetGuardMode(void) { return isGuardSafe() ? VORLAN_GUARD_SAFE : VORLAN_GUARD_FIXED; }

void VorlanSetReadObserver(VorlanReadObserver observer, void* userData) {
    setReadObserver(observer, userData);
}

void VorlanGetReadObserver(VorlanReadObserver* observer, void** userData) {
    const ReadObserver set = readObserver();
    give(observer, set.call);
    give(userData, set.userData);
}

}  // extern "C"
