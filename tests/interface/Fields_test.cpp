#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

class Fields : public InterfaceTest {
protected:
    static std::int64_t addFull() {
        Vorlanrecord record;
        record.satNum = 987654321;
        record.fileName = "  " + std::string(510, 'n');
        record.inputTag = "a tag";
        record.text8 = "eight";
        const std::int64_t key = AddRecToMem(record);
        EXPECT_EQ(VorlanAddSatEphem(key, kEpoch + 0.5, kPos, kVel, 0), 0);
        EXPECT_EQ(VorlanAddSatEphem(key, kEpoch + 1.0, kVel, kPos, 0), 0);
        return key;
    }

    static std::string field(std::int64_t key, std::int32_t index) {
        return textOf<512>([&](char* text) { EXPECT_EQ(VorlanGetField(key, index, text), 0); });
    }
};

TEST_F(Fields, AreReturnedAsLeftAdjustedTexts) {
    const std::int64_t key = addFull();
    const std::pair<std::int32_t, std::string> cases[] = {
        // clang-format off
        {1, "987654321"}, {2, "23337120000.000"}, {3, "6378.135000000000218"}, {4, "0.07436691613317340799"},
        {5, "7000.500000000000000"}, {6, "-0.250000000000000"}, {7, std::string(35, '*')},
        {8, "-7.500000000000000"}, {9, "0.100000000000000"}, {10, "0.000000000000000"}, {12, "2"},
        {13, std::string(510, 'n')}, {0, ""}, {16, ""}, {-1, ""}, {INT32_MIN, ""}, {INT32_MAX, ""},
        // clang-format on
    };
    for (const auto& [index, text] : cases) {
        EXPECT_EQ(VorlanSetField(key, index, "9"), 0) << "neither settable nor an error";
        EXPECT_EQ(field(key, index), padded(text, 512)) << index;
    }
    EXPECT_EQ(textOf<512>([&](char* line) { EXPECT_EQ(VorlanGetLine(key, line), 0); }),
              "EPHFIL =   " + std::string(501, 'n'));
}

TEST_F(Fields, AreSetFromTextsWithoutTheirLeadingBlanks) {
    const std::int64_t key = addFull();
    const std::tuple<std::int32_t, std::string, std::string> cases[] = {
        // clang-format off
        {11, "  3", "3"}, {11, "+4", "4"}, {11, "3 x", "3"}, {11, "10", "*"}, {11, "-1", "*"}, {11, "2", "2"},
        {11, "J2K", "*"},
        {14, "   abcdefghijklmnopqrst", "abcdefgh"}, {14, "  a b", "a b"}, {14, "x", "x"}, {14, "", ""},
        {15, "   " + std::string(200, 't'), std::string(128, 't')}, {15, "tag 2", "tag 2"},
        {14, std::string(508, ' ') + "77778", "7777"},  // no more than 512 characters are read
        // clang-format on
    };
    for (const auto& [index, text, stored] : cases) {
        // A literal ends at its NUL; what follows is ignored.
        for (const std::string& given : {padded(text, 513), text + '\0' + std::string(511, '9')}) {
            EXPECT_EQ(VorlanSetField(key, index, given.data()), 0);
            EXPECT_EQ(field(key, index), padded(stored, 512)) << text;
        }
    }
    EXPECT_EQ(VorlanSetField(key, 14, nullptr), 0);
    EXPECT_EQ(field(key, 14), padded("", 512)) << "a null text counts as blanks";
}

TEST_F(Fields, AreReturnedAllAtOnce) {
    std::int32_t satNum = -1, coordSys = -1, numPts = -1;
    double epoch = 9.9, earthRadius = 9.9, ke = 9.9, pos[3], vel[3];
    std::string texts(652, '#');
    const auto getAll = [&](std::int64_t key) {
        return VorlanGetAllFields(key, &satNum, &texts[0], &texts[9], &epoch, &earthRadius, &ke, pos, vel, &coordSys,
                                  &numPts, &texts[138]);
    };
    EXPECT_EQ(getAll(addFull()), 0);
    EXPECT_EQ(std::tuple(satNum, coordSys, numPts), std::tuple(987654321, 1, 2));
    EXPECT_EQ(std::tuple(epoch, earthRadius, ke), std::tuple(kEpoch + 0.5, 6378.135, 0.07436691613317341));
    EXPECT_THAT(pos, ::testing::ElementsAreArray(kPos));
    EXPECT_THAT(vel, ::testing::ElementsAreArray(kVel));
    EXPECT_EQ(texts, "eight   #" + padded("a tag", 128) + "#  " + std::string(510, 'n') + "##");
    EXPECT_EQ(getAll(addSatellite(7, 27500.0, 23)), 0) << "a record without points is not an error";
    EXPECT_EQ(std::tuple(satNum, coordSys, numPts, epoch), std::tuple(7, 3, 0, 27500.0));
    EXPECT_THAT(pos, ::testing::Each(0.0));
}

}  // namespace
}  // namespace vorlandi::testing
