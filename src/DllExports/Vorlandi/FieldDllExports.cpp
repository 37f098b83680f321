// The exported functions of vorlandi/vorlandi.h that access single fields, as texts, and all fields at once.
#include "CoreServices/NumberFields.hpp"
#include "DllExports/DllDoor.hpp"
#include "DllExports/Vorlandi/VorlandiDllVarsUtils.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "vorlandi/vorlandi.h"

using namespace vorlandi;

namespace {

// The numbers of the fields.
enum Field : std::int32_t {
    kSatNum = 1,
    kEpoch,
    kEarthRadius,
    kKe,
    kPosX,
    kPosY,
    kPosZ,
    kVelX,
    kVelY,
    kVelZ,
    kCoordSys,
    kNumPts,
    kFileName,
    kText8,
    kInputTag
};

FieldText lengthField(double value) noexcept { return fixedField(value, 35, 15); }

// A field as it is printed; empty for a number that names none. The record has points.
BoundedText<512> fieldText(const Vorlanrecord& record, std::int32_t field) noexcept {
    const Vorlanstate& first = record.points.front();
    switch (field) {
        case kSatNum:
            return integerField(record.satNum, 9);
        case kEpoch:
            return ds50todate15(record.epoch);
        case kEarthRadius:
            return lengthField(record.earthRadius);
        case kKe:
            return fixedField(record.ke, 30, 20);
        case kPosX:
        case kPosY:
        case kPosZ:
            return lengthField(first.pos[field - kPosX]);
        case kVelX:
        case kVelY:
        case kVelZ:
            return lengthField(first.vel[field - kVelX]);
        case kCoordSys:
            return integerField(record.coordSys, 1);
        case kNumPts:
            return integerField(record.numberOfPoints(), 10);
        case kFileName:
            return record.fileName.view();
        case kText8:
            return record.text8.view();
        case kInputTag:
            return record.inputTag.view();
        default:
            return {};
    }
}

}  // namespace

extern "C" {

int32_t VorlanSetField(int64_t satKey, int32_t fieldIdx, const char* valueStr) {
    return catchAll(__func__, [&]() -> int32_t {
        const std::string_view value = leftAdjusted(chararrtostr(valueStr, 512));
        RecordAccess record(satKey, Access::Change);
        if (!record) return record.fail();
        if (fieldIdx == kText8) record->text8 = value;
        if (fieldIdx == kInputTag) record->inputTag = value;
        if (fieldIdx == kCoordSys) record->coordSys = strtoint(value);
        return kSuccess;
    });
}

int32_t VorlanGetField(int64_t satKey, int32_t fieldIdx, char valueStr[512]) {
    return catchAll(__func__, [&]() -> int32_t {
        strtochararr({}, valueStr, 512);
        RecordAccess record(satKey);
        if (!record) return record.fail();
        if (record->numberOfPoints() == 0) return failWithoutData(record, "VorlanGetField", satKey);
        strtochararr(leftAdjusted(fieldText(*record, fieldIdx)), valueStr, 512);
        return kSuccess;
    });
}

int32_t VorlanGetAllFields(int64_t satKey, int32_t* satNum, char text8[8], char text128[128], double* epochDs50UTC,
                           double* earthRadius, double* ke, double pos[3], double vel[3], int32_t* coordSys,
                           int32_t* numPts, char fileName[512]) {
    return catchAll(__func__, [&]() -> int32_t {
        zero(satNum, coordSys, numPts);
        zero(epochDs50UTC, earthRadius, ke);
        zeroArray(pos, 3);
        zeroArray(vel, 3);
        strtochararr({}, text8, 8);
        strtochararr({}, text128, 128);
        strtochararr({}, fileName, 512);
        RecordAccess record(satKey);
        if (!record) return record.fail();
        setOutput(satNum, record->satNum);
        record->text8.copyTo(text8);
        record->inputTag.copyTo(text128);
        setOutput(coordSys, record->coordSys);
        setOutput(numPts, record->numberOfPoints());
        setOutput(epochDs50UTC, record->epoch);
        setOutput(earthRadius, record->earthRadius);
        setOutput(ke, record->ke);
        record->fileName.copyTo(fileName);
        if (record->numberOfPoints() == 0) return kSuccess;
        setOutput(pos, record->points.front().pos, 3);
        setOutput(vel, record->points.front().vel, 3);
        return kSuccess;
    });
}

}  // extern "C"
