// The exported functions of vorlandi/vorlandi.h, except fields and files. Each is a thin door: it zeroes the outputs,
// asks, and hands out the answer.
#include "vorlandi/vorlandi.h"

#include "CoreServices/SoftwareInformation.hpp"
#include "CoreServices/Sorting.hpp"
#include "CoreServices/TraceLog.hpp"
#include "DllExports/DllDoor.hpp"
#include "DllExports/Vorlandi/VorlandiDllVarsUtils.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"
#include "Vorlandi/VorlandiCardReading/SatelliteEntry.hpp"
#include "Vorlandi/VorlandiCardReading/Saving.hpp"

using namespace vorlandi;

namespace {

// Where a query puts its answer. `time` is the output for the request's other form.
struct StateOutputs {
    double* time;
    double* pos;
    double* vel;
    std::int32_t* revNum;
    double (*covMtx)[6] = nullptr;
};

std::int32_t answerQuery(std::int64_t satKey, double value, std::int32_t kind, const StateOutputs& outputs,
                         WithCovariance covariance) {
    zero(outputs.time, outputs.revNum);
    zeroArray(outputs.pos, 3);
    zeroArray(outputs.vel, 3);
    if (outputs.covMtx != nullptr) zeroArray(&outputs.covMtx[0][0], 36);
    EphemAnswer answer;
    if (const std::int32_t status = GetEphem(satKey, value, kind, answer, covariance); status != kSuccess) {
        return status;
    }
    setOutput(outputs.time, answer.time);
    setOutput(outputs.pos, answer.point.pos, 3);
    setOutput(outputs.vel, answer.point.vel, 3);
    setOutput(outputs.revNum, answer.point.rev);
    if (outputs.covMtx != nullptr) to6x6covmtx(outputs.covMtx, answer.point.cov);
    return kSuccess;
}

std::int32_t answerState(std::int64_t satKey, double value, std::int32_t kind, double* time, double* pos, double* vel,
                         std::int32_t* revNum) {
    return answerQuery(satKey, value, kind, {time, pos, vel, revNum}, WithCovariance::No);
}

std::int32_t answerCovariance(std::int64_t satKey, double value, std::int32_t kind, double* time, double* pos,
                              double* vel, std::int32_t* revNum, double (*covMtx)[6]) {
    return answerQuery(satKey, value, kind, {time, pos, vel, revNum, covMtx}, WithCovariance::Yes);
}

std::int32_t addPoint(std::int64_t satKey, double ds50UTC, const double* pos, const double* vel, std::int32_t revNum,
                      const double* cov) {
    if (pos == nullptr || vel == nullptr) return kFailure;
    Vorlanstate point;
    PointCovariance covariance;
    point.time = ds50UTC;
    std::copy_n(pos, 3, point.pos);
    std::copy_n(vel, 3, point.vel);
    point.rev = revNum;
    if (cov != nullptr) std::copy_n(cov, kCovarianceSize, covariance.cov);
    RecordAccess record(satKey, Access::Change);
    if (!record) return record.fail();
    addoneeppoint(point, *record, cov != nullptr ? &covariance : nullptr);
    return kSuccess;
}

}  // namespace

extern "C" {

// ---- Library and satellites ----

int32_t VorlanInit(void) { return kSuccess; }

void VorlanGetInfo(char infoStr[128]) {
    catchAll(__func__, [&] { strtochararr(getsoftwareinfo("Vorlandi"), infoStr, 128); });
}

int64_t VorlanAddSat(int32_t satNum, int32_t combinedCode, double epochDs50UTC, double earthRadius, double ke) {
    return catchAll(__func__, [&] { return createnewsatentry(satNum, epochDs50UTC, earthRadius, ke, combinedCode); });
}

int32_t VorlanRemoveSat(int64_t satKey) {
    return catchAll(__func__, [&] { return RemoveNode(satKey); });
}

int32_t VorlanRemoveAllSats(void) {
    return catchAll(__func__, []() -> int32_t {
        vorlanemptytree();
        return kSuccess;
    });
}

int32_t VorlanGetCount(void) {
    return catchAll(__func__, [] { return vorlangetnumoftreenodes(); });
}

void VorlanGetLoaded(int32_t order, int64_t satKeys[]) {
    catchAll(__func__, [&] {
        std::int32_t count = 0;
        try {
            vorlangettreekeys(count, satKeys, order, satKeys != nullptr ? INT64_MAX : 0);
        } catch (const std::bad_alloc&) {
            throw StorageFailure(static_cast<std::size_t>(vorlangetnumoftreenodes()) * sizeof(SortEntry));
        }
        if (count == 0) traceloginfo("Warning-VorlanGetLoaded: The binary tree is empty. No satKey returns.");
    });
}

int32_t VorlanGetLoadedExt(int32_t order, int64_t capacity, int64_t satKeys[], int64_t* count) {
    return catchAll(__func__, [&]() -> int32_t {
        zero(count);
        if (capacity < 0) return kFailure;
        std::int32_t satellites = 0;
        vorlangettreekeys(satellites, satKeys, order, satKeys != nullptr ? capacity : 0);
        setOutput(count, std::int64_t{satellites});
        return kSuccess;
    });
}

int64_t VorlanGetSatKey(int32_t satNum) {
    return catchAll(__func__, [&] { return GetSatKey(satNum); });
}

int64_t VorlanFieldsToSatKey(int32_t satNum, const char* epochDtg) {
    return catchAll(__func__, [&] {
        std::array<char, 20> epoch{};
        strtochararr(leftAdjusted(chararrtostr(epochDtg, epoch.size())), epoch.data(), epoch.size());
        std::replace(epoch.begin() + 2, epoch.end(), ' ', '0');
        return createsatkey(satNum, kVorlanElsetType, std::string_view(epoch.data(), epoch.size()));
    });
}

// ---- Data entry ----

int32_t VorlanAddSatEphem(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3], int32_t revNum) {
    return catchAll(__func__, [&] { return addPoint(satKey, ds50UTC, pos, vel, revNum, nullptr); });
}

int32_t VorlanAddSatEphemCovMtx(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3],
                                int32_t revNum, const double cov[21]) {
    return catchAll(__func__, [&]() -> int32_t {
        return cov != nullptr ? addPoint(satKey, ds50UTC, pos, vel, revNum, cov) : kFailure;
    });
}

int32_t VorlanAddSatEphemExt(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3], int32_t revNum,
                             const double cov[21]) {
    return VorlanAddSatEphemCovMtx(satKey, ds50UTC, pos, vel, revNum, cov);
}

// ---- Queries ----

int32_t VorlanMse(int64_t satKey, double mse, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum) {
    return catchAll(__func__, [&] { return answerState(satKey, mse, kByMse, ds50UTC, pos, vel, revNum); });
}

int32_t VorlanMseCovMtx(int64_t satKey, double mse, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum,
                        double covMtx[6][6]) {
    return catchAll(__func__, [&] { return answerCovariance(satKey, mse, kByMse, ds50UTC, pos, vel, revNum, covMtx); });
}

int32_t VorlanDs50UTC(int64_t satKey, double ds50UTC, double* mse, double pos[3], double vel[3], int32_t* revNum) {
    return catchAll(__func__, [&] { return answerState(satKey, ds50UTC, kByDs50UTC, mse, pos, vel, revNum); });
}

int32_t VorlanDs50UTCCovMtx(int64_t satKey, double ds50UTC, double* mse, double pos[3], double vel[3], int32_t* revNum,
                            double covMtx[6][6]) {
    return catchAll(__func__,
                    [&] { return answerCovariance(satKey, ds50UTC, kByDs50UTC, mse, pos, vel, revNum, covMtx); });
}

int32_t VorlanGetEphemeris(int64_t satKey, int32_t index, double* ds50UTC, double pos[3], double vel[3],
                           int32_t* revNum) {
    return catchAll(__func__, [&] { return answerState(satKey, index, kByIndex, ds50UTC, pos, vel, revNum); });
}

int32_t VorlanGetCovMtx(int64_t satKey, int32_t index, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum,
                        double covMtx[6][6]) {
    return catchAll(__func__,
                    [&] { return answerCovariance(satKey, index, kByIndex, ds50UTC, pos, vel, revNum, covMtx); });
}

int32_t VorlanXten(int64_t satKey, int32_t ephType, double inVal, double extState[128]) {
    return catchAll(__func__, [&]() -> int32_t {
        zeroArray(extState, 128);
        if (ephType < kByMse || ephType > kByIndex) {
            tracelogerror("VorlanXten: Invalid ephemeris type. Valid values are 1, 2, and 3.");
            return kFailure;
        }
        EphemAnswer answer;
        if (const std::int32_t status = GetEphem(satKey, inVal, ephType, answer); status != kSuccess) return status;
        if (extState == nullptr) return kSuccess;
        extState[0] = ephType == kByMse ? inVal : ephType == kByDs50UTC ? answer.time : answer.mse;
        extState[1] = ephType == kByDs50UTC ? inVal : answer.time;
        std::copy_n(answer.point.pos, 3, extState + 2);
        std::copy_n(answer.point.vel, 3, extState + 5);
        extState[8] = answer.point.rev;
        std::copy_n(answer.point.cov, kCovarianceSize, extState + 9);
        return kSuccess;
    });
}

int32_t VorlanStartEndTime(int64_t satKey, double* startDs50UTC, double* endDs50UTC) {
    return catchAll(__func__, [&]() -> int32_t {
        zero(startDs50UTC, endDs50UTC);
        RecordAccess record(satKey);
        if (!record) return record.fail();
        if (record->numberOfPoints() == 0) return failWithoutData(record, "VorlanStartEndTime", satKey);
        setOutput(startDs50UTC, record->points.firstTime());
        setOutput(endDs50UTC, record->points.lastTime());
        return kSuccess;
    });
}

int32_t VorlanGetLine(int64_t satKey, char line[512]) {
    return catchAll(__func__, [&]() -> int32_t {
        strtochararr({}, line, 512);
        RecordAccess record(satKey);
        if (!record) return record.fail();
        strtochararr(fileCard(*record), line, 512);
        return kSuccess;
    });
}

}  // extern "C"
