// The store: one tree of records for the whole process, ordered by key. Adding, removing and emptying take
// the writer side of the guard themselves; which lookups take the reader side is said with each.
//
// Messages are logged when neither side of the guard is held, since their handler may call the store.
#pragma once

#include <cstdint>
#include <string_view>

#include "CoreServices/DmaObjects.hpp"
#include "Templates/TreeTemplate.hpp"
#include "Vorlandi/StoreGuard.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

constexpr std::int32_t kSuccess = 0;
constexpr std::int32_t kFailure = 2;

struct VorlanTreeTraits {
    static bool equal(const Vorlanbintree& stored, const Vorlanbintree& added) noexcept {
        return stored.record && added.record && vorlandi::equal(*stored.record, *added.record);
    }
    static void swapContents(Vorlanbintree& a, Vorlanbintree& b) noexcept { a.record.swap(b.record); }
    static void expectRelease(const Vorlanbintree& node) noexcept { __builtin_prefetch(node.record.get()); }
};
using VorlanTree = TreeTemplate<Vorlanbintree, VorlanTreeTraits>;

extern VorlanTree vorlantree;

inline const Vorlanbintree* vorlantreeroot() noexcept { return vorlantree.root(); }
inline bool vorlantreeisempty() noexcept { return vorlantreeroot() == nullptr; }

// Stores a record under the key that the key mode in force gives it. The key; 0 for a refused duplicate; -1
// on failure. `stored`, when given, receives the node, null if there is none.
std::int64_t AddRecToMem(Vorlanrecord record, const Vorlanbintree** stored = nullptr) noexcept;

// Removes a satellite: kSuccess, or kFailure with a message.
std::int32_t RemoveNode(std::int64_t key) noexcept;

// Releases the record of a DMA key, and the object itself while nothing is attached to it. Empty on success,
// else the message. Takes no guard.
std::string_view RemoveDMA(std::int64_t key);

// Removes all satellites.
void vorlanemptytree() noexcept;

// The store's own record of a key, or null with the reason in `message`. For an ordinary key the reader side
// is entered unless it is already held, and stays entered whether there is a record or not. A DMA key needs
// no guard.
Vorlanrecord* FindRecPtr(std::int64_t key, std::string_view& message, bool guardHeld = false) noexcept;

// A deep copy of the record of a key; satellite number kNoRecord and the reason in `message` if there is
// none. Holds the reader side only inside.
constexpr std::int32_t kNoRecord = -123;
Vorlanrecord FindRec(std::int64_t key, std::string_view& message);

// The key of a satellite number, the first in pre-order; -1 if there is none. Holds the reader side only
// inside.
std::int64_t vorlansatkeyget(std::int32_t satNum) noexcept;

// The record behind a node, in the node or in its DMA object; null if there is none. Takes no guard.
const Vorlanrecord* recordOf(const Vorlanbintree& node) noexcept;

// A deep copy of it.
Vorlanrecord vorlangetrec(const Vorlanbintree& node);

// The number of nodes; 0 for any selector but 0. Holds the reader side only inside.
std::int32_t vorlangetnumoftreenodes(std::int32_t selector = 0) noexcept;

// Lists the keys at keys[count] and following, and moves count behind the last. Order 0 ascending by number,
// coordinate system and epoch; 1 the reverse; 2 in the order of insertion; 3 and above ascending by key. Only
// the counting holds the reader side: nobody may add or remove satellites meanwhile.
void vorlangettreekeys(std::int32_t& count, std::int64_t* keys, std::int32_t order) noexcept;

// The record of a key for as long as the object lives, with the reader side held that it needs. When there is
// no record, or something else is wrong with the request, fail() leaves the guard, logs why and gives the
// status.
class RecordAccess {
public:
    explicit RecordAccess(std::int64_t key) noexcept
        : record_(FindRecPtr(key, message_)), guarded_(!isdma(key)) {}
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
    void leave() noexcept {
        if (guarded_) vorlanendread();
        guarded_ = false;
    }

    std::string_view message_;
    Vorlanrecord* record_;
    bool guarded_;
};

// "text", the key right-aligned in 19 columns, "tail".
std::string keyMessage(std::string_view text, std::int64_t key, std::string_view tail);

}  // namespace vorlandi
