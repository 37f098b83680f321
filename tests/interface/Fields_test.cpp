#include "Vorlandi/VorlandiTree.hpp"
#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kPos[3] = {7000.5, -0.25, 1e20};
constexpr double kVel[3] = {-7.5, 0.1, 0.0};

class Fields : public InterfaceTest {
protected:
    static std::int64_t addFull() {
        Vorlanrecord record;
        record.satNum = 25544;
        record.fileName = "data/iss.eph";
        record.inputTag = "a tag";
        record.text8 = "eight";
        const std::int64_t key = AddRecToMem(record);
        EXPECT_EQ(VorlanAddSatEphem(key, kEpoch + 0.5, kPos, kVel, 0), 0);
        EXPECT_EQ(VorlanAddSatEphem(key, kEpoch + 1.0, kVel, kPos, 0), 0);
        return key;
    }

    static std::string field(std::int64_t key, std::int32_t index, std::int32_t status = 0) {
        TextOutput<512> text;
        EXPECT_EQ(VorlanGetField(key, index, text), status);
        EXPECT_EQ(VorlanGetField(key, index, nullptr), status);
        leftTheGuard();
        return text.text();
    }
};

TEST_F(Fields, AreGivenAsTextsOnTheLeft) {
    const std::int64_t key = addFull();
    const std::pair<std::int32_t, std::string> cases[] = {
        {1, "25544"},
        {2, "23337120000.000"},
        {3, "6378.135000000000218"},
        {4, "0.07436691613317340799"},
        {5, "7000.500000000000000"},
        {6, "-0.250000000000000"},
        {7, std::string(35, '*')},
        {8, "-7.500000000000000"},
        {9, "0.100000000000000"},
        {10, "0.000000000000000"},
        {11, "1"},
        {12, "2"},
        {13, "data/iss.eph"},
        {14, "eight"},
        {15, "a tag"},
        {0, ""},
        {16, ""},
        {-1, ""},
        {INT32_MIN, ""},
        {INT32_MAX, ""},
    };
    for (const auto& [index, text] : cases)
        EXPECT_EQ(field(key, index), padded(text, 512)) << index;
    for (const auto& [index, text] : cases) {
        if (index == 11 || index == 14 || index == 15) continue;
        EXPECT_EQ(VorlanSetField(key, index, "9"), 0) << "neither settable nor an error";
        EXPECT_EQ(field(key, index), padded(text, 512)) << index;
    }
    EXPECT_EQ(log.errors(), Messages{});
}

TEST_F(Fields, CannotBeReadFromARecordWithoutPoints) {
    for (const std::int64_t key : {addSatellite(5), addDmaSatellite(5)}) {
        for (const std::int32_t index : {0, 1, 2, 13, 14, 15, 16}) {
            log.clear();
            EXPECT_EQ(field(key, index, 2), padded("", 512));
            const std::string message =
                "VorlanGetField: satKey " + columns19(key) + " does not contain any ephemeris data.";
            EXPECT_EQ(log.errors(), Messages(2, message));
        }
    }
}

TEST_F(Fields, AreSetFromTextsWithoutTheirLeadingBlanks) {
    const std::int64_t key = addFull();
    struct Case {
        const char* what;
        std::int32_t index;
        std::string given;
        std::string stored;
    };
    const Case cases[] = {
        {"coordinate system", 11, "  3", "3"},
        {"sign", 11, "+4", "4"},
        {"not one column", 11, "10", "*"},
        {"negative", 11, "-1", "*"},
        {"no integer", 11, "J2K", "*"},
        {"coordinate system again", 11, "2", "2"},
        {"text of 8", 14, "   abcdefghijklmnopqrst", "abcdefgh"},
        {"blanks within", 14, "  a b", "a b"},
        {"shorter text", 14, "x", "x"},
        {"blank text", 14, "", ""},
        {"tag", 15, std::string(3, ' ') + std::string(200, 't'), std::string(128, 't')},
        {"another tag", 15, "tag 2", "tag 2"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(VorlanSetField(key, c.index, padded(c.given, 512).data()), 0);
        leftTheGuard();
        EXPECT_EQ(field(key, c.index), padded(c.stored, 512));
        // A literal ends at its NUL, whatever stands behind it.
        EXPECT_EQ(VorlanSetField(key, c.index, (c.given + '\0' + std::string(511, '9')).data()), 0);
        EXPECT_EQ(field(key, c.index), padded(c.stored, 512));
    }
    std::string full(512, ' ');
    full.replace(508, 5, "7777");
    EXPECT_EQ(VorlanSetField(key, 14, (full + "8").data()), 0);
    EXPECT_EQ(field(key, 14), padded("7777", 512)) << "no more than 512 characters are read";
    EXPECT_EQ(VorlanSetField(key, 14, nullptr), 0);
    EXPECT_EQ(field(key, 14), padded("", 512)) << "a null text counts as blanks";
}

TEST_F(Fields, AreGivenAllAtOnce) {
    const std::int64_t key = addFull();
    std::int32_t satNum = -1, coordSys = -1, numPts = -1;
    TextOutput<8> text8;
    TextOutput<128> text128;
    TextOutput<512> fileName;
    double epoch = kGarbage, earthRadius = kGarbage, ke = kGarbage;
    std::array<double, 3> pos{kGarbage, kGarbage, kGarbage}, vel = pos;
    const auto getAll = [&](std::int64_t wanted) {
        const std::int32_t status =
            VorlanGetAllFields(wanted, &satNum, text8, text128, &epoch, &earthRadius, &ke, pos.data(),
                               vel.data(), &coordSys, &numPts, fileName);
        EXPECT_EQ(VorlanGetAllFields(wanted, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                     nullptr, nullptr, nullptr, nullptr),
                  status);
        leftTheGuard();
        return status;
    };
    EXPECT_EQ(getAll(key), 0);
    EXPECT_EQ(std::tuple(satNum, coordSys, numPts), std::tuple(25544, 1, 2));
    EXPECT_EQ(std::tuple(epoch, earthRadius, ke), std::tuple(kEpoch + 0.5, 6378.135, 0.07436691613317341));
    EXPECT_EQ(pos, (std::array{7000.5, -0.25, 1e20}));
    EXPECT_EQ(vel, (std::array{-7.5, 0.1, 0.0}));
    EXPECT_EQ(text8.text(), padded("eight", 8));
    EXPECT_EQ(text128.text(), padded("a tag", 128));
    EXPECT_EQ(fileName.text(), padded("data/iss.eph", 512));

    EXPECT_EQ(getAll(addSatellite(7, 27500.0, 23)), 0) << "no points are no error";
    EXPECT_EQ(std::tuple(satNum, coordSys, numPts, epoch), std::tuple(7, 3, 0, 27500.0));
    EXPECT_EQ(pos, (std::array{0.0, 0.0, 0.0}));
    EXPECT_EQ(vel, pos);
    EXPECT_EQ(text8.text() + text128.text() + fileName.text(), padded("", 648));
    EXPECT_EQ(log.errors(), Messages{});

    ASSERT_EQ(getAll(key), 0);
    EXPECT_EQ(getAll(key + 1), 2);
    EXPECT_EQ(std::tuple(satNum, coordSys, numPts), std::tuple(0, 0, 0));
    EXPECT_EQ(std::tuple(epoch, earthRadius, ke), std::tuple(0.0, 0.0, 0.0));
    EXPECT_EQ(pos, (std::array{0.0, 0.0, 0.0}));
    EXPECT_EQ(vel, pos);
    EXPECT_EQ(text8.text() + text128.text() + fileName.text(), padded("", 648));
}

}  // namespace
}  // namespace vorlandi::testing
