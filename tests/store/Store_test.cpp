#include "CoreServices/DmaObjects.hpp"
#include "CoreServices/KeyModes.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"
#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

Vorlanrecord record(std::int32_t satNum, double epoch = kEpoch, std::int32_t coordSys = kEci) {
    Vorlanrecord made;
    made.satNum = satNum;
    made.epoch = epoch;
    made.coordSys = coordSys;
    return made;
}

constexpr const char* kDeallocated = "RemoveDMA: /DMA doesn't exist or was already deallocated";

class Store : public InterfaceTest {
protected:
    static std::vector<std::int64_t> listed(std::int32_t order) {
        std::vector<std::int64_t> keys(static_cast<std::size_t>(vorlangetnumoftreenodes()));
        std::int32_t count = 0;
        vorlangettreekeys(count, keys.data(), order);
        return keys;
    }
};

TEST_F(Store, AssignsCollidingRecordsTheNextKeysAHundredTimesAndRefusesEqualOnes) {
    const std::int64_t first = AddRecToMem(record(5, kEpoch, 1));
    const Vorlanbintree* node = nullptr;
    std::int64_t expected = first;
    for (std::int32_t code = 2; code <= 100; ++code) {
        expected = nextsatkey(expected);
        ASSERT_EQ(AddRecToMem(record(5, kEpoch, code), &node), expected);
        ASSERT_EQ(node->key, expected);
        ASSERT_EQ(stored(expected).coordSys, code);
    }
    // A duplicate is reported with the key that it would have had first, not the one it has.
    for (const std::int32_t equalOrTooMany : {1, 2, 101}) {
        setDupKeyMode(0);
        EXPECT_EQ(AddRecToMem(record(5, kEpoch, equalOrTooMany), &node), 0);
        EXPECT_EQ(node, nullptr);
        EXPECT_EQ(errorOf(2), withKey("AddRecToMem: Duplicated record/key ", first, " found."));
        setDupKeyMode(1);
        EXPECT_EQ(AddRecToMem(record(5, kEpoch, equalOrTooMany)), first);
        EXPECT_THAT(messages, ::testing::IsEmpty());
    }
    EXPECT_EQ(vorlangetnumoftreenodes(), 100);
}

TEST_F(Store, TakesTheKeyModeInForceAtEveryInsertion) {
    setElsetKeyMode(1);
    EXPECT_TRUE(isdma(AddRecToMem(record(5))));
    setAllKeyMode(0, 0);
    EXPECT_TRUE(isdma(AddRecToMem(record(5))));
    setAllKeyMode(-7, 0);
    EXPECT_EQ(AddRecToMem(record(5)), createsatkey(5, kVorlanElsetType, kEpoch));
    setAllKeyMode(1, 2);
    const std::int64_t key = AddRecToMem(record(6));
    EXPECT_EQ(key, createsatkey(6, kVorlanElsetType, kEpoch));
}

TEST_F(Store, SaysWhyThereIsNothingToRemove) {
    const std::int64_t key = AddRecToMem(record(5)), gone = addDmaSatellite(6);
    ASSERT_EQ(RemoveNode(gone), kSuccess);
    DmaObject& foreign = *newdmaobject();
    Vorlanrecord held = record(8);
    const std::int64_t foreignKey = publishdmaobject(foreign, 5, &held);
    const char* const unlocated = "RemoveNode: Unable to locate this key ";
    const std::pair<std::int64_t, std::string> cases[] = {
        // clang-format off
        {key + 1, withKey(unlocated, key + 1, " in its binary tree.")},
        {INT64_MAX, withKey(unlocated, INT64_MAX, " in its binary tree.")},
        {0, "RemoveNode: Invalid DMA key (<=0)."},
        {-10, "RemoveNode: Invalid DMA key (<=0)."},
        {10, kDeallocated}, {gone, kDeallocated},
        {foreignKey, "RemoveDMA: This DMA object isn't a correct object."},
        // clang-format on
    };
    for (const auto& [wanted, message] : cases)
        EXPECT_EQ(errorOf(RemoveNode(wanted)), message);
    std::string_view message;
    EXPECT_EQ(FindRecPtr(foreignKey, message), &held) << "of any type";
    releasedmaobject(foreign);
    EXPECT_EQ(listed(3), std::vector{key});
}

TEST_F(Store, EmptiesWithDmaObjectsGoneAndKeepsThemWhileSomethingIsAttached) {
    addDmaSatellite(1);
    EXPECT_EQ(RemoveDMA(addDmaSatellite(2)).problem, "");
    vorlanemptytree();
    EXPECT_EQ(errorOf(2), kDeallocated);
    EXPECT_TRUE(vorlantreeisempty());
    for (const std::size_t slot : {0U, 1U}) {
        const std::int64_t key = addDmaSatellite(5);
        DmaObject& object = keytocptr(key);
        object.attachments[slot] = &object;
        EXPECT_EQ(RemoveNode(key), kSuccess);
        EXPECT_EQ(errorOf(VorlanGetLine(key, nullptr)), "FindRecPtr: Prop data doesn't exist.");
        object.attachments[slot] = nullptr;
        EXPECT_EQ(RemoveDMA(key).problem, "");
        EXPECT_EQ(errorOf(VorlanGetLine(key, nullptr)), "FindRecPtr: Invalid DMA key.");
    }
}

TEST_F(Store, FindsTheSatelliteNumberThatComesFirstInPreOrder) {
    const std::int64_t early = AddRecToMem(record(5, 24000.0)), middle = AddRecToMem(record(5, 25000.0));
    EXPECT_EQ(vorlansatkeyget(5), early) << "the root";
    const std::int64_t late = AddRecToMem(record(5, 26000.0));
    EXPECT_EQ(vorlansatkeyget(5), middle) << "the root after the rotation";
    RemoveNode(middle);
    EXPECT_EQ(vorlansatkeyget(5), early) << "the predecessor has become the root";
    EXPECT_EQ(stored(early).epoch, 24000.0);
    EXPECT_EQ(listed(2), (std::vector{early, late}));
}

// The sort strings are the definition; a listing compares numbers where it can.
TEST_F(Store, ListsByNumberInTheOrderOfTheSortStringsForAnyValues) {
    for (const std::vector<double>& epochs :
         {std::vector{0.0, 9.5, 25000.0, 100000.25},
          std::vector{0.0, -0.0, -1.0, 999999.5, 1e6, 1e300, double{HUGE_VAL}, double{NAN}}}) {
        for (const std::int32_t satNum : {7, 0, -1, 999'999'999, 1'000'000'000, INT32_MIN}) {
            for (const std::int32_t coordSys : {1, 9, 10, 19, 99, 100, -1, -9, -10, 0}) {
                for (const double epoch : epochs)
                    AddRecToMem(record(satNum, epoch, coordSys), nullptr, kDmaKeyMode);
            }
        }
        std::vector<std::string> texts;
        for (const std::int64_t key : listed(0))
            texts.emplace_back(fieldstostr(stored(key)));
        EXPECT_EQ(texts.size(), 60 * epochs.size());
        EXPECT_TRUE(std::is_sorted(texts.begin(), texts.end()));
        vorlanemptytree();
    }
}

TEST_F(Store, ListsTheKeysInEachOrder) {
    const std::int64_t c = AddRecToMem(record(30)), late = AddRecToMem(record(10, 25000.0));
    const std::int64_t early = AddRecToMem(record(10, 24000.0)), j2k = AddRecToMem(record(10, 23000.0, kJ2k));
    const std::int64_t b = addDmaSatellite(20);
    EXPECT_EQ(listed(0), (std::vector{early, late, j2k, b, c}));
    EXPECT_EQ(listed(2), (std::vector{c, late, early, j2k, b}));
    std::vector<std::int64_t> byKey{c, late, early, j2k, b};
    std::sort(byKey.begin(), byKey.end());
    EXPECT_EQ(listed(INT32_MAX), byKey);
    EXPECT_THAT(listed(-1), ::testing::UnorderedElementsAreArray(byKey));
    EXPECT_EQ(vorlangetnumoftreenodes(1), 0);
    for (int count = 0; count < 40; ++count)
        addDmaSatellite(40 + count % 2);
    std::vector<std::int64_t> reversed = listed(1);
    std::reverse(reversed.begin(), reversed.end());
    EXPECT_EQ(listed(0), reversed) << "ties, too, exactly reversed";
}

TEST(SortString, IsFixedColumnsOfNumberCoordinatesAndEpoch) {
    EXPECT_EQ(fieldstostr(record(999'999'999, 0.25, 20)), "99999999920     0.250000000");
    EXPECT_EQ(fieldstostr(record(5, -1.5, 100)), "000000005**    -1.500000000");
    EXPECT_EQ(fieldstostr(record(5, 99999.9999999996, -1)), "000000005-1100000.000000000");
    EXPECT_EQ(fieldstostr(record(5, 1e7)), "000000005 1****************");
}

}  // namespace
}  // namespace vorlandi::testing
