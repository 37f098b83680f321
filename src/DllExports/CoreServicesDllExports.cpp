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

int32_t VorlanTraceOpen(const char* fileName) {
    return catchAll(__func__, [&] { return openTraceFile(fileNameOf(fileName)); });
}

void VorlanTraceClose(void) { catchAll(__func__, closeTraceFile); }

void VorlanTraceSetHandler(VorlanTraceHandler handler, void* userData) {
    catchAll(__func__, [&] { setTraceHandler(handler, userData); });
}

void VorlanTraceGetHandler(VorlanTraceHandler* handler, void** userData) {
    catchAll(__func__, [&] {
        const TraceHandler set = traceHandler();
        setOutput(handler, set.call);
        setOutput(userData, set.userData);
    });
}

void VorlanTraceLastError(char message[512]) {
    catchAll(__func__, [&] { lastTraceError().copyTo(message); });
}

void VorlanSetAllKeyMode(int32_t use, int32_t mode) {
    catchAll(__func__, [&] { setAllKeyMode(use, mode); });
}

void VorlanSetElsetKeyMode(int32_t mode) {
    catchAll(__func__, [&] { setElsetKeyMode(mode); });
}

void VorlanSetDupKeyMode(int32_t mode) {
    catchAll(__func__, [&] { setDupKeyMode(mode); });
}

void VorlanGetKeyModes(int32_t* useAll, int32_t* allMode, int32_t* elsetMode, int32_t* dupMode) {
    catchAll(__func__, [&] {
        const KeyModes modes = keyModes();
        setOutput(useAll, modes.useAll);
        setOutput(allMode, modes.all);
        setOutput(elsetMode, modes.elset);
        setOutput(dupMode, modes.dup);
    });
}

int32_t VorlanSetGuardMode(int32_t mode) {
    return catchAll(__func__, [&]() -> int32_t { return setGuardMode(mode) ? kSuccess : kFailure; });
}

int32_t VorlanGetGuardMode(void) {
    return catchAll(__func__, []() -> int32_t { return isGuardSafe() ? VORLAN_GUARD_SAFE : VORLAN_GUARD_FIXED; });
}

void VorlanSetReadObserver(VorlanReadObserver observer, void* userData) {
    catchAll(__func__, [&] { setReadObserver(observer, userData); });
}

void VorlanGetReadObserver(VorlanReadObserver* observer, void** userData) {
    catchAll(__func__, [&] {
        const ReadObserver set = readObserver();
        setOutput(observer, set.call);
        setOutput(userData, set.userData);
    });
}

}  // extern "C"
