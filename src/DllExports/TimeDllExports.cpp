// The exported functions of vorlandi/time.h.
#include "DllExports/DllDoor.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "TimeLibrary/TimeScales.hpp"
#include "vorlandi/time.h"

using namespace vorlandi;

extern "C" {

double VorlanTimeFromText(const char* text, int32_t textLen) {
    return catchAll(__func__,
                    [&] { return dtg2ds50utc(chararrtostr(text, static_cast<std::size_t>(std::max(textLen, 0)))); });
}

void VorlanTimeToText15(double ds50UTC, char text[15]) {
    catchAll(__func__, [&] {
        const auto date = ds50todate15(ds50UTC);
        setOutput(text, date.data(), date.size());
    });
}

void VorlanTimeToIso(double ds50UTC, char text[26]) {
    catchAll(__func__, [&] {
        const auto date = ds50toiso(ds50UTC);
        setOutput(text, date.data(), date.size());
    });
}

double VorlanTimeUtcToTai(double ds50UTC) {
    return catchAll(__func__, [&] { return utc2tai(ds50UTC); });
}

double VorlanTimeTaiToUtc(double ds50TAI) {
    return catchAll(__func__, [&] { return tai2utc(ds50TAI); });
}

int32_t VorlanTimeLoadLeapSeconds(const char* fileName) {
    return catchAll(__func__, [&] { return loadLeapSeconds(fileNameOf(fileName)); });
}

}  // extern "C"
