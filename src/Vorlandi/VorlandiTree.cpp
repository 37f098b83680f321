#include "Vorlandi/VorlandiTree.hpp"

#include <new>
#include <utility>

#include "CoreServices/NumberFields.hpp"
#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/StorageFailure.hpp"

namespace vorlandi {

VorlanTree vorlantree;

namespace {

constexpr std::int64_t kRefusedDuplicate = 0;
constexpr int kMostKeysTried = 100;

bool isAlive(const DmaObject& object, std::int64_t key) noexcept {
    return object.self != 0 && object.self == satkeytoaddr(key);
}

Vorlanrecord* recordIn(const DmaObject& object) noexcept { return static_cast<Vorlanrecord*>(object.record.load()); }

// A DMA object and the record that it will hold, which can't be found before they are published. Releases both if they
// never are.
class NewDma {
public:
    NewDma() = default;
    ~NewDma() {
        if (object_ != nullptr) releasedmaobject(*object_);
    }
    NewDma(const NewDma&) = delete;
    NewDma& operator=(const NewDma&) = delete;

    // False, with a message, if memory is short.
    bool take(Vorlanrecord&& record) {
        object_ = newdmaobject();
        if (object_ == nullptr) {
            tracelogerror("AddRecToMem: Cannot allocate memory for a new dma.");
            return false;
        }
        record_.reset(new (std::nothrow) Vorlanrecord(std::move(record)));
        if (!record_) tracelogerror("AddRecToMem: Cannot allocate memory for a new rec.");
        return record_ != nullptr;
    }

    std::int64_t key() const noexcept { return dmakey(*object_); }

    // Inside the guard, together with the node: a key that can be found is in the tree.
    void publish() noexcept {
        if (object_ != nullptr) publishdmaobject(*std::exchange(object_, nullptr), kVorlanElsetType, record_.release());
    }

private:
    DmaObject* object_ = nullptr;
    std::unique_ptr<Vorlanrecord> record_;
};

// Links a node under its key or, in every mode but the DMA mode, the next free one of the same satellite. `key`
// receives it: once the guard is left, a linked node may be gone already.
AddStatus vorlanaddnode(Vorlanbintree& node, NewDma& dma, std::int64_t& key) {
    const WriteGuard guard;
    dma.publish();
    AddStatus status = vorlantree.addNode(&node);
    for (int tried = 1; !isdma(node.key) && status == AddStatus::SameKey; ++tried) {
        node.key = nextsatkey(node.key);
        status = tried < kMostKeysTried ? vorlantree.addNode(&node) : AddStatus::SameThing;
    }
    key = node.key;
    return status;
}

}  // namespace

MessageText keyMessage(std::string_view text, std::int64_t key, std::string_view tail) noexcept {
    return MessageText(text) << integerField(key, 19) << tail;
}

std::int64_t AddRecToMem(Vorlanrecord record, const Vorlanbintree** stored, std::int32_t mode) {
    if (stored != nullptr) *stored = nullptr;
    NewDma dma;
    if (mode == kDmaKeyMode && !dma.take(std::move(record))) return kNoKey;
    // NOLINTNEXTLINE(bugprone-use-after-move): it was moved in the DMA mode alone
    const std::int64_t key =
        mode == kDmaKeyMode ? dma.key() : createsatkey(record.satNum, kVorlanElsetType, record.epoch);
    if (key == kNoKey) return kNoKey;

    std::unique_ptr<Vorlanbintree> node(new (std::nothrow) Vorlanbintree);
    if (!node) {
        tracelogerror(keyMessage("AddRecToMem: Unable to allocate memory for key ", key, "."));
        return kNoKey;
    }
    node->key = key;
    if (mode == kSatKeyMode) {
        // NOLINTNEXTLINE(bugprone-use-after-move): it was moved in the DMA mode alone
        node->record.reset(new (std::nothrow) Vorlanrecord(std::move(record)));
        if (!node->record) throw StorageFailure(sizeof(Vorlanrecord));
    }

    std::int64_t storedKey = key;
    const AddStatus status = vorlanaddnode(*node, dma, storedKey);
    if (mode == kSatKeyMode && status == AddStatus::SameThing) {
        if (dupkeymodeget() != 0) return key;
        tracelogerror(keyMessage("AddRecToMem: Duplicated record/key ", key, " found."));
        return kRefusedDuplicate;
    }
    if (status != AddStatus::Linked) return storedKey;
    if (stored != nullptr) *stored = node.get();
    static_cast<void>(node.release());  // the tree's from now on
    return storedKey;
}

RemovedDma RemoveDMA(std::int64_t key) noexcept {
    DmaObject& object = keytocptr(key);
    if (!isAlive(object, key)) return {nullptr, "RemoveDMA: /DMA doesn't exist or was already deallocated"};
    if (!vorlanelsettype(object.type)) return {nullptr, "RemoveDMA: This DMA object isn't a correct object."};
    std::unique_ptr<Vorlanrecord> record(static_cast<Vorlanrecord*>(object.record.exchange(nullptr)));
    if (object.attachments[0] == nullptr && object.attachments[1] == nullptr) releasedmaobject(object);
    return {std::move(record), {}};
}

std::int32_t RemoveNode(std::int64_t key) noexcept {
    if (isdma(key) && key < 1) {
        tracelogerror("RemoveNode: Invalid DMA key (<=0).");
        return kFailure;
    }
    // Both are released outside the guard, which many points would hold for long.
    RemovedDma dma;
    std::unique_ptr<Vorlanbintree> removed;
    {
        const WriteGuard guard;
        if (isdma(key)) dma = RemoveDMA(key);
        if (dma.problem.empty()) removed.reset(vorlantree.removeNode(key));
    }
    if (removed) return kSuccess;
    tracelogerror(dma.problem.empty()
                      ? keyMessage("RemoveNode: Unable to locate this key ", key, " in its binary tree.")
                      : MessageText(dma.problem));
    return kFailure;
}

void vorlanemptytree() noexcept {
    Vorlanbintree* removed = nullptr;
    std::int32_t withoutObject = 0;
    std::string_view problem;  // always the same: every object of this library is valid
    {
        const WriteGuard guard;
        removed = vorlantree.detachAll();
        VorlanTree::postOrder(removed, [&](Vorlanbintree* node) {
            if (!isdma(node->key)) return;
            RemovedDma dma = RemoveDMA(node->key);
            node->record = std::move(dma.record);
            if (dma.problem.empty()) return;
            problem = dma.problem;
            ++withoutObject;
        });
    }
    VorlanTree::postOrder(removed, [](Vorlanbintree* node) { delete node; });
    for (; withoutObject > 0; --withoutObject)
        tracelogerror(problem);
}

Vorlanrecord* FindRecPtr(std::int64_t key, std::string_view& message, bool guardHeld) noexcept {
    message = {};
    if (isdma(key)) {
        const DmaObject& object = keytocptr(key);
        if (key < 1) {
            message = "FindRecPtr: Invalid DMA key (<=0).";
        } else if (!isAlive(object, key)) {
            message = "FindRecPtr: Invalid DMA key.";
        } else if (Vorlanrecord* const record = recordIn(object)) {
            return record;
        } else {
            message = "FindRecPtr: Prop data doesn't exist.";
        }
        return nullptr;
    }
    if (!guardHeld) vorlanbeginread();
    if (vorlantreeisempty()) {
        message = "FindRecPtr: Search tree is empty.";
        return nullptr;
    }
    const Vorlanbintree* const node = vorlantree.find(key);
    if (node != nullptr) return node->record.get();
    message = "FindRecPtr: search key doens't exist.";
    return nullptr;
}

std::int64_t vorlansatkeyget(std::int32_t satNum) noexcept {
    const ReadGuard guard;
    const Vorlanbintree* const found = VorlanTree::preOrder(vorlantreeroot(), [=](const Vorlanbintree& node) {
        const Vorlanrecord* const record = vorlangetrec(node);
        return record != nullptr && record->satNum == satNum;
    });
    return found != nullptr ? found->key : kNoKey;
}

const Vorlanrecord* vorlangetrec(const Vorlanbintree& node) noexcept {
    if (!isdma(node.key)) return node.record.get();
    const DmaObject& object = keytocptr(node.key);
    return isAlive(object, node.key) ? recordIn(object) : nullptr;
}

std::int32_t RecordAccess::fail(std::string_view message) noexcept {
    leave();
    tracelogerror(message);
    return kFailure;
}

}  // namespace vorlandi
