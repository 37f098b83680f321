#include "CoreServices/DmaObjects.hpp"
#include "CoreServices/KeyModes.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

Vorlanrecord record(std::int32_t satNum, double epoch = 27000.0, std::int32_t coordSys = kEci) {
    Vorlanrecord made;
    made.satNum = satNum;
    made.epoch = epoch;
    made.coordSys = coordSys;
    return made;
}

class Store : public StoreTest {
protected:
    ~Store() override {
        EXPECT_EQ(numreads, 0);
        EXPECT_STREQ(vorlantree.check(), nullptr);
    }

    static std::int64_t addDma(const Vorlanrecord& added) {
        setAllKeyMode(1, kDmaKeyMode);
        const std::int64_t key = AddRecToMem(added);
        setAllKeyMode(0, 0);
        return key;
    }

    static std::vector<std::int64_t> listed(std::int32_t order) {
        std::vector<std::int64_t> keys(static_cast<std::size_t>(vorlangetnumoftreenodes()));
        std::int32_t count = 0;
        vorlangettreekeys(count, keys.data(), order);
        EXPECT_EQ(count, static_cast<std::int32_t>(keys.size()));
        return keys;
    }

    static std::string lookupMessage(std::int64_t key) {
        std::string_view message = "not cleared";
        EXPECT_EQ(FindRecPtr(key, message), nullptr);
        if (!isdma(key)) vorlanendread();
        return std::string(message);
    }

    static std::string copyMessage(std::int64_t key) {
        std::string_view message = "not cleared";
        EXPECT_EQ(FindRec(key, message).satNum, kNoRecord);
        return std::string(message);
    }
};

// ---- Adding ----

TEST_F(Store, RefusesAnEqualRecordAndReportsItUnlessToldOtherwise) {
    const Vorlanbintree* node = nullptr;
    const std::int64_t key = AddRecToMem(record(5), &node);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->key, key);
    EXPECT_EQ(AddRecToMem(record(5), &node), 0);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(log.errors(), Messages{"AddRecToMem: Duplicated record/key " + columns19(key) + " found."});
    log.clear();
    setDupKeyMode(1);
    EXPECT_EQ(AddRecToMem(record(5), &node), key);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(log.errors(), Messages{});
    EXPECT_EQ(vorlangetnumoftreenodes(), 1);
}

TEST_F(Store, StoresADifferentRecordWithTheSameKeyUnderTheNextOne) {
    const std::int64_t first = AddRecToMem(record(5, 27000.0, kEci));
    const Vorlanbintree* node = nullptr;
    const std::int64_t second = AddRecToMem(record(5, 27000.0, kJ2k), &node);
    EXPECT_EQ(second, nextsatkey(first));
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->key, second);
    std::string_view message;
    EXPECT_EQ(FindRec(second, message).coordSys, kJ2k);
    // A duplicate of the second is answered with the key that it would have had, not the one it has.
    setDupKeyMode(1);
    EXPECT_EQ(AddRecToMem(record(5, 27000.0, kJ2k)), first);
    setDupKeyMode(0);
    EXPECT_EQ(AddRecToMem(record(5, 27000.0, kJ2k)), 0);
    EXPECT_EQ(log.errors(), Messages{"AddRecToMem: Duplicated record/key " + columns19(first) + " found."});
}

TEST_F(Store, ReportsARecordThatCollidesAHundredTimesAsADuplicate) {
    std::int64_t expected = AddRecToMem(record(5, 27000.0, 1));
    const std::int64_t first = expected;
    for (std::int32_t code = 2; code <= 100; ++code) {
        expected = nextsatkey(expected);
        ASSERT_EQ(AddRecToMem(record(5, 27000.0, code)), expected);
        ASSERT_FALSE(isdma(expected));
    }
    EXPECT_EQ(AddRecToMem(record(5, 27000.0, 101)), 0);
    EXPECT_EQ(log.errors(), Messages{"AddRecToMem: Duplicated record/key " + columns19(first) + " found."});
    EXPECT_EQ(vorlangetnumoftreenodes(), 100);
}

TEST_F(Store, TakesTheKeyModeInForceAtEveryInsertion) {
    struct Case {
        std::int32_t useAll, allMode, elsetMode;
        bool dma;
    };
    const Case cases[] = {{0, 0, 0, false}, {0, 1, 0, false}, {1, 0, 1, false},
                          {0, 0, 1, true},  {1, 1, 0, true},  {-7, 1, 0, true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.useAll * 100 + c.allMode * 10 + c.elsetMode);
        vorlanemptytree();
        setAllKeyMode(c.useAll, c.allMode);
        setElsetKeyMode(c.elsetMode);
        const Vorlanbintree* node = nullptr;
        const std::int64_t key = AddRecToMem(record(5), &node);
        EXPECT_EQ(isdma(key), c.dma);
        ASSERT_NE(node, nullptr);
        EXPECT_EQ(node->record == nullptr, c.dma) << "the record stands in the node or in the DMA object";
        EXPECT_EQ(vorlangetrec(*node).satNum, 5);
    }
    // In any other mode the key is an ordinary one and the record is not kept.
    setAllKeyMode(1, 2);
    const std::int64_t key = AddRecToMem(record(6));
    EXPECT_EQ(key, createsatkey(6, kVorlanElsetType, 27000.0));
    EXPECT_EQ(lookupMessage(key), "");
}

TEST_F(Store, KeepsACopyThatTheCallersRecordDoesNotReach) {
    Vorlanrecord mine = record(5);
    addoneeppoint(Vorlanpoint{27000.0, {1.0, 2.0, 3.0}}, mine);
    const std::int64_t key = AddRecToMem(mine);
    const std::int64_t dma = addDma(mine);
    mine.satNum = 9;
    addoneeppoint(Vorlanpoint{27001.0}, mine);
    for (const std::int64_t each : {key, dma}) {
        std::string_view message;
        Vorlanrecord copy = FindRec(each, message);
        EXPECT_EQ(copy.satNum, 5);
        EXPECT_EQ(copy.numberOfPoints(), 1);
        EXPECT_EQ(copy.points.front().pos[2], 3.0);
        addoneeppoint(Vorlanpoint{27001.0}, copy);
        EXPECT_EQ(FindRec(each, message).numberOfPoints(), 1);
    }
}

// ---- Removing ----

TEST_F(Store, NamesWhatCannotBeRemoved) {
    const std::int64_t key = AddRecToMem(record(5));
    DmaObject& foreign = *newdmaobject();
    foreign.type = 5;
    const std::int64_t gone = addDma(record(5));
    ASSERT_EQ(RemoveNode(gone), kSuccess);
    const auto notFound = [](std::int64_t wanted) {
        return "RemoveNode: Unable to locate this key " + columns19(wanted) + " in its binary tree.";
    };
    const std::pair<std::int64_t, std::string> cases[] = {
        {key + 1, notFound(key + 1)},
        {-1, notFound(-1)},
        {INT64_MAX, notFound(INT64_MAX)},
        {0, "RemoveNode: Invalid DMA key (<=0)."},
        {-10, "RemoveNode: Invalid DMA key (<=0)."},
        {10, "RemoveDMA: /DMA doesn't exist or was already deallocated"},
        {gone, "RemoveDMA: /DMA doesn't exist or was already deallocated"},
        {dmakey(foreign), "RemoveDMA: This DMA object isn't a correct object."},
    };
    for (const auto& [wanted, message] : cases) {
        log.clear();
        EXPECT_EQ(RemoveNode(wanted), kFailure);
        EXPECT_EQ(log.errors(), Messages{message});
    }
    releasedmaobject(foreign);
    EXPECT_EQ(listed(3), std::vector{key});
}

TEST_F(Store, KeepsADmaObjectWhileSomethingIsAttachedToIt) {
    for (const std::size_t slot : {0U, 1U}) {
        const std::int64_t key = addDma(record(5));
        DmaObject& object = keytocptr(key);
        EXPECT_EQ(object.self, satkeytoaddr(key));
        EXPECT_EQ(object.type, kVorlanElsetType);
        object.attachments[slot] = &object;
        EXPECT_EQ(RemoveNode(key), kSuccess);
        EXPECT_EQ(vorlangetnumoftreenodes(), 0);
        EXPECT_EQ(lookupMessage(key), "FindRecPtr: Prop data doesn't exist.");
        EXPECT_EQ(copyMessage(key), "");
        object.attachments[slot] = nullptr;
        EXPECT_EQ(RemoveDMA(key), "");
        EXPECT_EQ(lookupMessage(key), "FindRecPtr: Invalid DMA key.");
    }
    EXPECT_EQ(log.errors(), Messages{});
}

TEST_F(Store, EmptiesCompletelyEvenWhenADmaObjectIsAlreadyGone) {
    vorlanemptytree();
    EXPECT_EQ(log.errors(), Messages{});
    const std::int64_t kept = addDma(record(1));
    const std::int64_t released = addDma(record(2));
    AddRecToMem(record(3));
    ASSERT_EQ(RemoveDMA(released), "");
    vorlanemptytree();
    EXPECT_EQ(log.errors(), Messages{"RemoveDMA: /DMA doesn't exist or was already deallocated"});
    EXPECT_TRUE(vorlantreeisempty());
    EXPECT_EQ(lookupMessage(kept), "FindRecPtr: Invalid DMA key.");
}

TEST_F(Store, ListsTheSurvivorOfARemovalByItsOwnNumberInTheOrderOfLoading) {
    std::vector<std::int64_t> keys;
    for (const std::int32_t satNum : {2, 3, 1})
        keys.push_back(AddRecToMem(record(satNum)));
    ASSERT_EQ(RemoveNode(keys[0]), kSuccess);
    EXPECT_EQ(listed(2), (std::vector{keys[1], keys[2]}));
    std::string_view message;
    EXPECT_EQ(FindRec(keys[2], message).satNum, 1);
}

// ---- Looking up ----

TEST_F(Store, SaysWhyThereIsNoRecord) {
    EXPECT_EQ(lookupMessage(16), "FindRecPtr: Search tree is empty.");
    EXPECT_EQ(copyMessage(16), "FindRec: Search tree is empty.");
    AddRecToMem(record(5));
    DmaObject& foreign = *newdmaobject();
    Vorlanrecord held = record(8);
    foreign.record = &held;
    struct Case {
        std::int64_t key;
        const char* found;
        const char* copied;
    };
    const Case cases[] = {
        {16, "FindRecPtr: search key doens't exist.", "FindRec: search key doens't exist."},
        {-1, "FindRecPtr: search key doens't exist.", "FindRec: search key doens't exist."},
        {0, "FindRecPtr: Invalid DMA key (<=0).", "FindRec: Invalid DMA key (<=0)."},
        {-10, "FindRecPtr: Invalid DMA key (<=0).", "FindRec: Invalid DMA key (<=0)."},
        {10, "FindRecPtr: Invalid DMA key.", ""},
        {dmakey(foreign) + 10, "FindRecPtr: Invalid DMA key.", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        EXPECT_EQ(lookupMessage(c.key), c.found);
        EXPECT_EQ(copyMessage(c.key), c.copied);
    }
    // An object of another type is found, but not copied.
    std::string_view message;
    EXPECT_EQ(FindRecPtr(dmakey(foreign), message), &held);
    EXPECT_EQ(copyMessage(dmakey(foreign)), "");
    releasedmaobject(foreign);
    EXPECT_EQ(log.errors(), Messages{});
}

TEST_F(Store, FindsTheSatelliteNumberThatComesFirstInPreOrder) {
    EXPECT_EQ(vorlansatkeyget(5), -1);
    const std::int64_t early = AddRecToMem(record(5, 24000.0));
    const std::int64_t middle = AddRecToMem(record(5, 25000.0));
    EXPECT_EQ(vorlansatkeyget(5), early) << "the root";
    const std::int64_t late = AddRecToMem(record(5, 26000.0));
    EXPECT_EQ(vorlansatkeyget(5), middle) << "the root after the rotation";
    RemoveNode(middle);
    EXPECT_EQ(vorlansatkeyget(5), early) << "the predecessor has become the root";
    RemoveNode(early);
    EXPECT_EQ(vorlansatkeyget(5), late);
    EXPECT_EQ(vorlansatkeyget(6), -1);
    const std::int64_t dma = addDma(record(6));
    EXPECT_EQ(vorlansatkeyget(6), dma);
}

// ---- Listing ----

TEST_F(Store, ListsTheKeysInEachOrder) {
    const std::int64_t c = AddRecToMem(record(30));
    const std::int64_t late = AddRecToMem(record(10, 25000.0));
    const std::int64_t early = AddRecToMem(record(10, 24000.0));
    const std::int64_t j2k = AddRecToMem(record(10, 23000.0, kJ2k));
    const std::int64_t b = addDma(record(20));
    EXPECT_EQ(listed(0), (std::vector{early, late, j2k, b, c}));
    EXPECT_EQ(listed(1), (std::vector{c, b, j2k, late, early}));
    EXPECT_EQ(listed(2), (std::vector{c, late, early, j2k, b}));
    std::vector<std::int64_t> byKey{c, late, early, j2k, b};
    std::sort(byKey.begin(), byKey.end());
    EXPECT_EQ(listed(3), byKey);
    EXPECT_EQ(listed(INT32_MAX), byKey);
    std::vector<std::int64_t> inNoOrder = listed(-1);
    std::sort(inNoOrder.begin(), inNoOrder.end());
    EXPECT_EQ(inNoOrder, byKey);
    EXPECT_EQ(vorlangetnumoftreenodes(0), 5);
    EXPECT_EQ(vorlangetnumoftreenodes(1), 0);
    EXPECT_EQ(vorlangetnumoftreenodes(-1), 0);
}

TEST_F(Store, ListsTiesExactlyReversedInTheReverseOrder) {
    for (int count = 0; count < 40; ++count)
        addDma(record(count % 2));
    std::vector<std::int64_t> reversed = listed(1);
    std::reverse(reversed.begin(), reversed.end());
    EXPECT_EQ(listed(0), reversed);
}

TEST(SortString, IsFixedColumnsOfNumberCoordinatesAndEpoch) {
    const std::pair<Vorlanrecord, const char*> cases[] = {
        {record(5, 27123.5), "000000005 1 27123.500000000"},
        {record(999'999'999, 0.25, 20), "99999999920     0.250000000"},
        {record(5, -1.5, 100), "000000005**    -1.500000000"},
        {record(5, 99999.9999999996, -1), "000000005-1100000.000000000"},
        {record(5, 1e7), "000000005 1****************"},
    };
    for (const auto& [given, text] : cases)
        EXPECT_EQ(fieldstostr(given), text);
}

// ---- Points of a record ----

TEST(PointArray, GrowsByAThousandPointsAndKeepsThemInOrder) {
    Vorlanrecord growing;
    EXPECT_FALSE(growing.points.present());
    for (int i = 0; i < 2001; ++i) {
        addoneeppoint(Vorlanpoint{i * 0.5, {i * 1.0, 0.0, 0.0}}, growing);
        ASSERT_EQ(growing.points.capacity(), (i / 1000 + 1) * 1000);
    }
    for (int i = 0; i < 2001; ++i) {
        ASSERT_EQ(growing.points[i].time, i * 0.5);
        ASSERT_EQ(growing.points[i].pos[0], i * 1.0);
    }
    trimvorlanempts(growing);
    EXPECT_EQ(growing.points.capacity(), 2001);
    addoneeppoint(Vorlanpoint{5000.0}, growing);
    EXPECT_EQ(growing.points.capacity(), 3001);
    EXPECT_EQ(growing.points[2000].time, 1000.0);
}

TEST(PointArray, IsCopiedDeeplyWithItsSpace) {
    Vorlanrecord source;
    Vorlanrecord none = source;
    EXPECT_FALSE(none.points.present());
    addoneeppoint(Vorlanpoint{1.0}, source);
    Vorlanrecord copy = source;
    EXPECT_EQ(copy.points.capacity(), 1000);
    EXPECT_NE(copy.points.data(), source.points.data());
    addoneeppoint(Vorlanpoint{2.0}, copy);
    EXPECT_EQ(source.numberOfPoints(), 1);
    const Vorlanrecord& itself = copy;
    copy = itself;
    EXPECT_EQ(copy.numberOfPoints(), 2);
    EXPECT_EQ(copy.points.back().time, 2.0);
    copy = none;
    EXPECT_FALSE(copy.points.present());
    trimvorlanempts(copy);
    EXPECT_FALSE(copy.points.present());
    source.points.clear();
    trimvorlanempts(source);
    const Vorlanrecord emptied = source;
    EXPECT_TRUE(emptied.points.present());
    EXPECT_EQ(emptied.points.capacity(), 1000);
    EXPECT_NE(emptied.points.data(), source.points.data());
}

TEST(Vorlanrecord, StartsWithTheInitialImage) {
    const Vorlanrecord fresh;
    EXPECT_EQ(fresh.fileName.padded() + fresh.inputTag.padded(), std::string(640, ' '));
    EXPECT_EQ(fresh.text8.padded(), std::string(8, ' '));
    EXPECT_EQ(std::tuple(fresh.satNum, fresh.coordSys, fresh.codeTens), std::tuple(0, 1, 0));
    EXPECT_EQ(std::tuple(fresh.epoch, fresh.earthRadius, fresh.ke),
              std::tuple(0.0, 6378.135, 0.07436691613317341));
}

}  // namespace
}  // namespace vorlandi::testing
