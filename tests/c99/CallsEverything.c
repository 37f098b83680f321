/* Calls every function of the three headers from C99, through the shared library alone. */
#if defined(__GNUC__) && !defined(__clang__)
/* Texts end at their NUL, so that a literal may be shorter than the array that a prototype names. */
#pragma GCC diagnostic ignored "-Wstringop-overread"
#endif
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

static int passed = 0;
static int failed = 0;

#define CHECK(condition)                                           \
    do {                                                           \
        if (condition) {                                           \
            ++passed;                                              \
        } else {                                                   \
            ++failed;                                              \
            printf("%s:%d: %s\n", __FILE__, __LINE__, #condition); \
        }                                                          \
    } while (0)

static const double kEpoch = 27000.0;

/* Is the output the text and then blanks? */
static int holds(const char* chars, size_t size, const char* text) {
    const size_t used = strlen(text);
    size_t k;
    if (used > size || memcmp(chars, text, used) != 0) return 0;
    for (k = used; k < size; ++k) {
        if (chars[k] != ' ') return 0;
    }
    return 1;
}

static void countMessages(int32_t severity, const char* text, int32_t textLen, void* userData) {
    int* const counts = userData;
    if (severity == VORLAN_TRACE_INFO || severity == VORLAN_TRACE_ERROR) ++counts[severity];
    if (textLen <= 0 || text[0] == ' ') ++counts[0];
}

static void checkTimes(void) {
    char date[15];
    char iso[26];
    const double time = VorlanTimeFromText("2024-03-01T12:00:30.5Z", 22);
    CHECK(time > 27089.5 && time < 27089.501);
    CHECK(VorlanTimeFromText("not a date", 10) == 0.0);
    VorlanTimeToText15(time, date);
    CHECK(memcmp(date, "24061120030.500", 15) == 0);
    VorlanTimeToIso(time, iso);
    CHECK(memcmp(iso, "2024-03-01T12:00:30.500000", 26) == 0);
    CHECK(VorlanTimeUtcToTai(time) > time);
    CHECK(VorlanTimeTaiToUtc(VorlanTimeUtcToTai(27000.0)) == 27000.0);
    CHECK(VorlanTimeLoadLeapSeconds("no/such/file") != 0);
}

static void checkSatellites(void) {
    char info[128];
    int64_t keys[2] = {0, 0};
    int64_t first, second;
    CHECK(VorlanInit() == 0);
    VorlanGetInfo(info);
    CHECK(memcmp(info, "Vorlandi ", 9) == 0 && info[127] == ' ');
    CHECK(VorlanRemoveAllSats() == 0);
    first = VorlanAddSat(25544, 1, kEpoch, 6378.135, 0.0743669161);
    second = VorlanAddSat(5, 2, kEpoch, 6378.135, 0.0743669161);
    CHECK(first > second && second > 0);
    CHECK(VorlanAddSat(5, 2, kEpoch, 6378.135, 0.0743669161) == 0);
    CHECK(VorlanAddSat(-1, 1, kEpoch, 6378.135, 0.0743669161) == -1);
    CHECK(VorlanGetCount() == 2);
    VorlanGetLoaded(2, keys);
    CHECK(keys[0] == first && keys[1] == second);
    CHECK(VorlanGetSatKey(25544) == first);
    CHECK(VorlanFieldsToSatKey(25544, "23337000000.000") == first);
    CHECK(VorlanRemoveSat(second) == 0);
    CHECK(VorlanRemoveSat(second) == 2);
}

static void addPoints(int64_t key) {
    double cov[21];
    int point, k;
    for (point = 0; point < 6; ++point) {
        const double pos[3] = {7000.0 + point, -1.0 * point, 0.5};
        const double vel[3] = {1.0 / 60.0, -1.0 / 60.0, 0.0};
        const double time = kEpoch + point / 1440.0;
        for (k = 0; k < 21; ++k)
            cov[k] = k + 1.0;
        if (point < 2) {
            CHECK(VorlanAddSatEphem(key, time, pos, vel, 7) == 0);
        } else if (point < 4) {
            CHECK(VorlanAddSatEphemCovMtx(key, time, pos, vel, 7, cov) == 0);
        } else {
            CHECK(VorlanAddSatEphemExt(key, time, pos, vel, 7, cov) == 0);
        }
    }
}

static void checkQueries(int64_t key) {
    const double last = kEpoch + 5 / 1440.0;
    double time, end, pos[3], vel[3], cov[6][6], state[128];
    int32_t rev = 0;
    char line[512];
    CHECK(VorlanMse(key, 0.0, &time, pos, vel, &rev) == 0 && time == kEpoch && rev == 7);
    CHECK(VorlanMseCovMtx(key, 0.0, &time, pos, vel, &rev, cov) == 0 && cov[5][5] == 0.0);
    CHECK(VorlanDs50UTC(key, last, &time, pos, vel, &rev) == 0 && time == (last - kEpoch) * 1440.0);
    CHECK(pos[0] > 7004.999 && pos[0] < 7005.001 && vel[2] == 0.0);
    CHECK(VorlanDs50UTCCovMtx(key, last, &time, pos, vel, &rev, cov) == 0 && cov[0][1] == cov[1][0]);
    CHECK(VorlanGetEphemeris(key, 2, &time, pos, vel, &rev) == 0 && pos[0] == 7001.0);
    CHECK(VorlanGetCovMtx(key, 6, &time, pos, vel, &rev, cov) == 0 && cov[5][5] == 21.0 && cov[1][0] == 2.0);
    CHECK(VorlanXten(key, 3, 6.9, state) == 0 && state[1] == last && state[29] == 21.0 && state[127] == 0.0);
    CHECK(VorlanStartEndTime(key, &time, &end) == 0 && time == kEpoch && end == last);
    CHECK(VorlanGetLine(key, line) == 0 && holds(line, sizeof line, "EPHFIL ="));
    CHECK(VorlanDs50UTC(key, last + 1.0, &time, pos, vel, &rev) == 2 && time == 0.0 && pos[0] == 0.0);
}

static void checkManyAtOnce(int64_t key) {
    const double times[3] = {kEpoch, kEpoch - 1.0, kEpoch + 2 / 1440.0};
    const int64_t keys[2] = {key, 0};
    double found[3], states[3][6], cov[3][6][6];
    int32_t revs[3], codes[3];
    CHECK(VorlanDs50UTCArr(key, 3, times, states, revs, cov, codes) == 2);
    CHECK(codes[0] == 0 && codes[1] == 2 && codes[2] == 0);
    CHECK(revs[0] == 7 && states[1][0] == 0.0 && cov[2][5][5] == 21.0);
    CHECK(VorlanSatsDs50UTC(2, keys, kEpoch, states, revs, cov, codes) == 2);
    CHECK(codes[0] == 0 && codes[1] == 2 && states[0][0] == 7000.0);
    CHECK(VorlanGetEphemerisArr(key, 4, 3, found, states, revs, cov, codes) == 0);
    CHECK(found[2] == kEpoch + 5 / 1440.0 && states[0][0] == 7003.0 && cov[2][0][0] == 1.0);
    CHECK(VorlanDs50UTCArr(key, -1, times, NULL, NULL, NULL, NULL) == 2);
}

static void checkFields(int64_t key) {
    char value[512], text8[8], text128[128], fileName[512];
    int32_t satNum, coordSys, points;
    double epoch, earthRadius, ke, pos[3], vel[3];
    CHECK(VorlanSetField(key, 11, "  3") == 0);
    CHECK(VorlanSetField(key, 14, "eight and more") == 0);
    CHECK(VorlanSetField(key, 15, "tag") == 0);
    CHECK(VorlanGetField(key, 11, value) == 0 && holds(value, sizeof value, "3"));
    CHECK(VorlanGetField(key, 3, value) == 0 && holds(value, sizeof value, "6378.135000000000218"));
    CHECK(VorlanGetAllFields(key, &satNum, text8, text128, &epoch, &earthRadius, &ke, pos, vel, &coordSys,
                             &points, fileName) == 0);
    CHECK(satNum == 25544 && coordSys == 3 && points == 6 && epoch == kEpoch && pos[0] == 7000.0);
    CHECK(holds(text8, 8, "eight an") && holds(text128, 128, "tag") && holds(fileName, 512, ""));
}

static void checkFiles(void) {
    const char* const name = "vorlandi_c99_cards.txt";
    CHECK(VorlanLoadFile("no/such/file") != 0);
    CHECK(VorlanAddSatFrFile("no/such/file") == -1);
    CHECK(VorlanSaveFile("no/such/folder/file", 0) != 0);
    CHECK(VorlanSaveFile(name, 0) == 0);
    CHECK(VorlanLoadFile(name) == 0);
    CHECK(remove(name) == 0);
}

static void checkServices(void) {
    const char* const name = "vorlandi_c99_trace.txt";
    int32_t useAll = -1, allMode = -1, elsetMode = -1, dupMode = -1;
    int counts[3] = {0, 0, 0};
    char message[512];
    VorlanGetKeyModes(&useAll, &allMode, &elsetMode, &dupMode);
    CHECK(useAll == 0 && allMode == 0 && elsetMode == 0 && dupMode == 0);
    VorlanSetAllKeyMode(1, 1);
    VorlanSetElsetKeyMode(2);
    VorlanSetDupKeyMode(3);
    VorlanGetKeyModes(&useAll, &allMode, &elsetMode, &dupMode);
    CHECK(useAll == 1 && allMode == 1 && elsetMode == 2 && dupMode == 3);
    CHECK(VorlanAddSat(6, 1, kEpoch, 6378.135, 0.07) % 10 == 0);
    VorlanSetAllKeyMode(0, 0);
    VorlanSetElsetKeyMode(0);
    VorlanSetDupKeyMode(0);

    CHECK(VorlanTraceOpen("") != 0);
    CHECK(VorlanTraceOpen(name) == 0);
    VorlanTraceSetHandler(countMessages, counts);
    CHECK(VorlanRemoveSat(0) == 2);
    VorlanTraceSetHandler(NULL, NULL);
    VorlanTraceClose();
    CHECK(counts[0] == 0 && counts[VORLAN_TRACE_INFO] == 0 && counts[VORLAN_TRACE_ERROR] == 1);
    VorlanTraceLastError(message);
    CHECK(holds(message, sizeof message, "RemoveNode: Invalid DMA key (<=0)."));
    CHECK(remove(name) == 0);
}

int main(void) {
    int64_t key;
    checkTimes();
    checkSatellites();
    key = VorlanGetSatKey(25544);
    addPoints(key);
    checkQueries(key);
    checkManyAtOnce(key);
    checkFields(key);
    checkFiles();
    checkServices();
    CHECK(VorlanRemoveAllSats() == 0 && VorlanGetCount() == 0);
    printf("%d passed, %d failed\n", passed, failed);
    return failed != 0;
}
