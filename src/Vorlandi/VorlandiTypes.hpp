// The record types: one satellite's ephemeris, and the node of the store that holds it.
#pragma once

#include <cstdint>
#include <memory>

#include "CoreServices/BoundedText.hpp"
#include "CoreServices/Texts.hpp"
#include "Vorlandi/CoordinateSystems.hpp"
#include "Vorlandi/PointArray.hpp"

namespace vorlandi {

// One satellite's ephemeris. Copies are deep; whoever holds a record owns its points.
struct Vorlanrecord {
    // Records on the heap come from a pool of their own.
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void operator delete(void* record) noexcept;
    static void operator delete(void* record, const std::nothrow_t&) noexcept { operator delete(record); }

    // What a query, a listing and the release need comes first.
    PointArray points;   // in strictly rising time order
    double epoch = 0.0;  // Ds50UTC: given with the satellite, then the time of the first point
    std::int32_t satNum = 0;
    std::int32_t coordSys = kEci;
    PaddedText<512> fileName;         // file the record was read from
    InlineText<128> inputTag;         // tag of the card that preceded the file
    std::int32_t codeTens = 0;        // tens of the combined code given when the satellite was added
    double earthRadius = 6378.135;    // km
    double ke = 0.07436691613317341;  // earth radii and minutes
    InlineText<8> text8;              // stored and returned, never interpreted

    std::int32_t numberOfPoints() const noexcept { return points.count(); }
};

// A copy of a record that shares its points until either changes; appending to `record` doesn't count.
Vorlanrecord shareOf(Vorlanrecord& record);

// Two records are the same satellite when number, coordinate system and epoch are equal.
inline bool equal(const Vorlanrecord& a, const Vorlanrecord& b) noexcept {
    return a.satNum == b.satNum && a.coordSys == b.coordSys && a.epoch == b.epoch;
}

// The sort string of a record, "(I9.9, I2, F16.9)": number, coordinate system, epoch.
BoundedText<32> fieldstostr(const Vorlanrecord& record) noexcept;

// A node of the store. Its record is null when it lives in a DMA object.
struct Vorlanbintree {
    // Nodes come from a pool of their own: a walk down the tree touches few cache lines.
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
    static void operator delete(void* node) noexcept;
    static void operator delete(void* node, const std::nothrow_t&) noexcept { operator delete(node); }

    std::int64_t key = 0;
    std::int32_t sequenceNumber = 0;  // order of insertion
    std::int32_t balance = 0;         // height of the right subtree minus height of the left
    std::unique_ptr<Vorlanrecord> record;
    Vorlanbintree* left = nullptr;   // smaller keys
    Vorlanbintree* right = nullptr;  // larger keys
};

// Frees the memory of the pools when no node and no record is left.
void freeRecordPools() noexcept;

}  // namespace vorlandi
