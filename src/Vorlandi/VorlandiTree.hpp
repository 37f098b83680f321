// The store: one tree of records for the whole process, ordered by key. Adding, removing and emptying take the writer
// side of the guard themselves; each lookup says whether it takes the reader side.
//
// Messages are logged when neither side of the guard is held, since their handler may call the store.
#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>

#include "CoreServices/BoundedText.hpp"
#include "CoreServices/DmaObjects.hpp"
#include "CoreServices/KeyModes.hpp"
#include "CoreServices/Status.hpp"
#include "Templates/TreeTemplate.hpp"
#include "Vorlandi/StoreGuard.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

struct VorlanTreeTraits {
    static bool equal(const Vorlanbintree& stored, const Vorlanbintree& added) noexcept {
        return stored.record && added.record && vorlandi::equal(*stored.record, *added.record);
    }
    static void swapContents(Vorlanbintree& a, Vorlanbintree& b) noexcept { a.record.swap(b.record); }
    static void prefetchForRelease(const Vorlanbintree& node) noexcept { __builtin_prefetch(node.record.get()); }
};
using VorlanTree = TreeTemplate<Vorlanbintree, VorlanTreeTraits>;

extern VorlanTree vorlantree;

inline const Vorlanbintree* vorlantreeroot() noexcept { return vorlantree.root(); }
inline bool vorlantreeisempty() noexcept { return vorlantreeroot() == nullptr; }

// Stores a record under a key made by a key mode. Returns the key; 0 for a refused duplicate; -1 on failure. `stored`,
// when given, receives the node, null if there is none. Throws StorageFailure if there is no memory for a record with
// an ordinary key.
std::int64_t AddRecToMem(Vorlanrecord record, const Vorlanbintree** stored = nullptr,
                         std::int32_t mode = effectiveKeyMode());

// Removes a satellite: kSuccess, or kFailure with a message.
std::int32_t RemoveNode(std::int64_t key) noexcept;

// Takes the record out of the DMA object of a key, and releases the object itself while nothing is attached to it.
// `problem` is empty, or the message that says why there is no record. Takes no guard.
struct RemovedDma {
    std::unique_ptr<Vorlanrecord> record;
    std::string_view problem;
};
RemovedDma RemoveDMA(std::int64_t key) noexcept;

// Removes all satellites.
void vorlanemptytree() noexcept;

// The store's own record of a key, or null with the reason in `message`. For an ordinary key the reader side
// is entered unless a side is already held, and stays entered whether there is a record or not. For a DMA key no
// side is entered here.
Vorlanrecord* FindRecPtr(std::int64_t key, std::string_view& message, bool guardHeld = false) noexcept;

// The key of a satellite number, the first in pre-order; -1 if there is none. Holds the reader side only
// inside.
std::int64_t vorlansatkeyget(std::int32_t satNum) noexcept;

// The record of a node, in the node or in its DMA object; null if there is none. Takes no guard.
const Vorlanrecord* vorlangetrec(const Vorlanbintree& node) noexcept;

// The number of nodes; 0 for any selector but 0. Holds the reader side only inside.
std::int32_t vorlangetnumoftreenodes(std::int32_t selector = 0) noexcept;

// Lists the keys of all satellites, at most `capacity` of them, at keys[count] and following, and adds the number of
// satellites to count. Order 0 ascending by number, coordinate system and epoch; 1 the reverse; 2 in the order of
// insertion; 3 and above ascending by key. Holds the reader side once for all it reads. Throws std::bad_alloc.
void vorlangettreekeys(std::int32_t& count, std::int64_t* keys, std::int32_t order,
                       std::int64_t capacity = std::numeric_limits<std::int64_t>::max());

// What the caller does with a record.
enum class Access { Query, Change };

// The record of a key for as long as the object lives, with the side of the guard held that it needs: in the safe mode
// the reader side for a query and the writer side for a change; in the fixed mode the reader side for an ordinary key
// and none for a DMA key. When there is no record, or something else is wrong with the request, fail() leaves the
// guard, logs why and returns the status.
class RecordAccess {
public:
    explicit RecordAccess(std::int64_t key, Access access = Access::Query) noexcept
        : held_(enter(key, access)), record_(FindRecPtr(key, message_, true)) {}
    ~RecordAccess() { leave(); }
    RecordAccess(const RecordAccess&) = delete;
    RecordAccess& operator=(const RecordAccess&) = delete;

    explicit operator bool() const noexcept { return record_ != nullptr; }
    Vorlanrecord* operator->() const noexcept { return record_; }
    Vorlanrecord& operator*() const noexcept { return *record_; }

    // Why there is no record.
    std::string_view message() const noexcept { return message_; }

    std::int32_t fail() noexcept { return fail(message_); }
    std::int32_t fail(std::string_view message) noexcept;

private:
    enum class Held { Nothing, ReaderSide, WriterSide };

    static Held enter(std::int64_t key, Access access) noexcept {
        const bool safe = isGuardSafe();
        if (!safe && isdma(key)) return Held::Nothing;
        if (safe && access == Access::Change) {
            beginUpdate();
            return Held::WriterSide;
        }
        vorlanbeginread();
        return Held::ReaderSide;
    }

    // Leaves the side that was entered: the mode may have been switched since.
    void leave() noexcept {
        if (held_ == Held::ReaderSide) vorlanendread();
        if (held_ == Held::WriterSide) endUpdate();
        held_ = Held::Nothing;
    }

    std::string_view message_;
    Held held_;
    Vorlanrecord* record_;
};

// "text", the key right-aligned in 19 columns, "tail".
MessageText keyMessage(std::string_view text, std::int64_t key, std::string_view tail) noexcept;

}  // namespace vorlandi
