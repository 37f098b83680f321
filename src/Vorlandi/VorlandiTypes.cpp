#include "Vorlandi/VorlandiTypes.hpp"

#include "CoreServices/HeldAcrossFork.hpp"
#include "CoreServices/NumberFields.hpp"
#include "Templates/BlockPool.hpp"

namespace vorlandi {

BoundedText<32> fieldstostr(const Vorlanrecord& record) noexcept {
    return BoundedText<32>() << integerField(record.satNum, 9, 9) << integerField(record.coordSys, 2)
                             << fixedField(record.epoch, 16, 9);
}

Vorlanrecord shareOf(Vorlanrecord& record) {
    PointArray points = std::move(record.points);
    try {
        Vorlanrecord copy = record;
        copy.points = points.share();
        record.points = std::move(points);
        return copy;
    } catch (...) {
        record.points = std::move(points);
        throw;
    }
}

namespace {

// Without destructors: the store may be in use until the process ends.
constinit BlockPool<sizeof(Vorlanbintree), alignof(Vorlanbintree)> nodes;
constinit BlockPool<sizeof(Vorlanrecord), kCacheLine> records;

[[maybe_unused]] const HeldAcrossFork<nodes> kNodesHeldAcrossFork;
[[maybe_unused]] const HeldAcrossFork<records> kRecordsHeldAcrossFork;

}  // namespace

void* Vorlanbintree::operator new(std::size_t, const std::nothrow_t&) noexcept { return nodes.take(); }
void Vorlanbintree::operator delete(void* node) noexcept { nodes.release(node); }

void* Vorlanrecord::operator new(std::size_t, const std::nothrow_t&) noexcept { return records.take(); }
void Vorlanrecord::operator delete(void* record) noexcept { records.release(record); }

void freeRecordPools() noexcept {
    nodes.freeAll();
    records.freeAll();
}

}  // namespace vorlandi
