/* Calls every function of the three headers from C99, linked with only the shared library. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

static int failed = 0;

#define CHECK(condition) \
    if (!(condition)) failed += printf("%s:%d: %s\n", __FILE__, __LINE__, #condition)

static void countMessages(int32_t severity, const char* text, int32_t textLen, void* userData) {
    if (severity == VORLAN_TRACE_ERROR && textLen > 0 && text[0] != ' ') ++*(int*)userData;
}

static void countEvents(int32_t event, const char* fileName, int32_t fileNameLen, int64_t line, const char* text,
                        int32_t textLen, void* userData) {
    if (event == VORLAN_READ_FORMAT && line == 1) CHECK(textLen == 9 && memcmp(text, "UNIVERSAL", 9) == 0);
    if (fileNameLen > 0 && fileName[0] == 'v') ++((int*)userData)[event];
}

static void checkServices(void) {
    const char* const name = "vorlandi_c99.txt";
    int32_t useAll, allMode, elsetMode, dupMode;
    int errors = 0, events[5] = {0, 0, 0, 0, 0};
    int64_t key = 0, count = 0;
    void *handlerData = NULL, *observerData = NULL;
    VorlanTraceHandler handler = NULL;
    VorlanReadObserver observer = NULL;
    char message[512];
    FILE* file;
    VorlanSetAllKeyMode(1, 1);
    VorlanSetElsetKeyMode(2);
    VorlanSetDupKeyMode(3);
    VorlanGetKeyModes(&useAll, &allMode, &elsetMode, &dupMode);
    CHECK(useAll == 1 && allMode == 1 && elsetMode == 2 && dupMode == 3);
    CHECK(VorlanAddSat(6, 1, 27000.0, 6378.135, 0.07) % 10 == 0);
    VorlanSetAllKeyMode(0, 0);
    VorlanSetElsetKeyMode(0);
    CHECK(VorlanTraceOpen("") != 0 && VorlanTraceOpen(name) == 0);
    VorlanTraceSetHandler(countMessages, &errors);
    VorlanTraceGetHandler(&handler, &handlerData);
    CHECK(handler == countMessages && handlerData == &errors);
    CHECK(VorlanRemoveSat(0) == 2 && errors == 1);
    VorlanTraceSetHandler(NULL, NULL);
    VorlanTraceGetHandler(&handler, NULL);
    CHECK(handler == NULL);
    VorlanTraceClose();
    VorlanTraceLastError(message);
    CHECK(memcmp(message, "RemoveNode: Invalid DMA key (<=0).  ", 36) == 0 && message[511] == ' ');
    CHECK(VorlanSetGuardMode(VORLAN_GUARD_SAFE) == 0 && VorlanGetGuardMode() == VORLAN_GUARD_SAFE);
    CHECK(VorlanSaveFile(name, 0) == 0 && VorlanLoadFile(name) == 0);
    CHECK(VorlanLoadFile("no/such/file") != 0 && VorlanTimeLoadLeapSeconds("no/such/file") != 0);

    file = fopen(name, "w");
    fprintf(file, "%-29s%10d%-10sCSV \n", "KQ_UNIVERSAL_VORLANDI_V1.0", 81001, "HCSRL");
    fprintf(file, "2026-01-31T00:00:00.0,7000.0,1.0,2.0,0.0,7.5,0.0\n");
    fclose(file);
    VorlanSetReadObserver(countEvents, events);
    VorlanGetReadObserver(&observer, &observerData);
    CHECK(observer == countEvents && observerData == events);
    CHECK(VorlanAddSatFrFile(name) > 0 && VorlanGetSatKey(81001) > 0);
    VorlanSetReadObserver(NULL, NULL);
    VorlanGetReadObserver(NULL, &observerData);
    CHECK(observerData == NULL);
    CHECK(events[VORLAN_READ_FORMAT] == 1 && events[VORLAN_READ_STORED] == 1 && events[VORLAN_READ_BAD] == 0);
    CHECK(VorlanLoadFileExt(name, VORLAN_LOAD_PRACTICAL | VORLAN_LOAD_DMA_KEYS, 1, &key, &count) == 0 && count == 1);
    CHECK(VorlanRemoveSat(key) == 0);
    CHECK(VorlanLoadBytes(NULL, 0, name, 0, 0, NULL, &count) == 0 && count == 0);
    CHECK(remove(name) == 0);
}

static void checkSatellite(int64_t key) {
    const double times[2] = {27000.0, 27000.5}, pos[3] = {7000.0, 1.0, 2.0}, vel[3] = {0.0, 7.5, 0.0};
    double cov[21] = {1.0, 2.0}, time, p[3], v[3], full[6][6], state[128], states[2][6], full2[2][6][6];
    int32_t rev, coordSys, points, satNum, revs[2], codes[2];
    char value[512], text8[8], text128[128];
    CHECK(VorlanAddSatEphem(key, times[0], pos, vel, 7) == 0);
    CHECK(VorlanAddSatEphemCovMtx(key, times[1], pos, vel, 8, cov) == 0);
    CHECK(VorlanAddSatEphemExt(key, 27001.0, pos, vel, 9, cov) == 0);
    CHECK(VorlanMse(key, 720.0, &time, p, v, &rev) == 0 && time == times[1]);
    CHECK(VorlanMseCovMtx(key, 720.0, &time, p, v, &rev, full) == 0 && full[1][0] == 2.0);
    CHECK(VorlanDs50UTC(key, times[1], &time, p, v, &rev) == 0 && time == 720.0 && v[1] == 7.5);
    CHECK(VorlanDs50UTCCovMtx(key, times[1], &time, p, v, &rev, full) == 0 && full[0][1] == 2.0);
    CHECK(VorlanGetEphemeris(key, 2, &time, p, v, &rev) == 0 && p[0] == 7000.0 && rev == 8);
    CHECK(VorlanGetCovMtx(key, 2, &time, p, v, &rev, full) == 0 && full[0][0] == 1.0);
    CHECK(VorlanXten(key, 3, 2.0, state) == 0 && state[1] == times[1] && state[127] == 0.0);
    CHECK(VorlanDs50UTCArr(key, 2, times, states, revs, full2, codes) == 0 && full2[1][0][1] == 2.0);
    CHECK(VorlanSatsDs50UTC(1, &key, times[0], states, revs, full2, codes) == 0 && revs[0] == 7);
    CHECK(VorlanGetEphemerisArr(key, 2, 2, state, states, revs, full2, codes) == 0 && state[1] == 27001.0);
    CHECK(VorlanStartEndTime(key, &time, state) == 0 && time == times[0] && state[0] == 27001.0);
    CHECK(VorlanSetField(key, 14, "eight and more") == 0 && VorlanSetField(key, 15, "tag") == 0);
    CHECK(VorlanGetField(key, 14, value) == 0 && memcmp(value, "eight an  ", 10) == 0);
    CHECK(VorlanGetAllFields(key, &satNum, text8, text128, &time, p, v, state, states[0], &coordSys, &points, value) ==
          0);
    CHECK(points == 3 && state[0] == 7000.0 && text8[7] == 'n' && memcmp(text128, "tag ", 4) == 0);
    CHECK(VorlanGetLine(key, value) == 0 && memcmp(value, "EPHFIL = ", 9) == 0);
}

int main(void) {
    char text[128];
    int64_t key, count;
    const double time = VorlanTimeFromText("2024-03-01T12:00:30.5Z", 22);
    VorlanTimeToText15(time, text);
    CHECK(memcmp(text, "24061120030.500", 15) == 0);
    VorlanTimeToIso(time, text);
    CHECK(memcmp(text, "2024-03-01T12:00:30.500000", 26) == 0);
    CHECK(VorlanTimeUtcToTai(27000.0) > 27000.0 && VorlanTimeTaiToUtc(VorlanTimeUtcToTai(27000.0)) == 27000.0);
    CHECK(VorlanInit() == 0);
    VorlanGetInfo(text);
    CHECK(memcmp(text, "Vorlandi ", 9) == 0 && text[127] == ' ');
    key = VorlanAddSat(25544, 1, 27000.0, 6378.135, 0.0743669161);
    VorlanGetLoaded(0, &key);
    CHECK(VorlanGetLoadedExt(3, 1, &key, &count) == 0 && count == 1);
    CHECK(VorlanGetCount() == 1 && key == VorlanFieldsToSatKey(25544, "23337000000.000"));
    checkSatellite(key);
    checkServices();
    CHECK(VorlanRemoveAllSats() == 0 && VorlanGetCount() == 0);
    return failed != 0;
}
