// Counting and listing of the keys in the store.
#include <algorithm>
#include <span>
#include <vector>

#include "CoreServices/NumberFields.hpp"
#include "CoreServices/Sorting.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

constexpr std::int32_t kReversed = 1;
constexpr std::int32_t kByInsertion = 2;
constexpr std::int32_t kByKey = 3;  // and above

BoundedText<32> sortString(const Vorlanbintree& node, std::int32_t order) noexcept {
    if (order == kByInsertion) return integerField(node.sequenceNumber, 12, 12);
    if (order < 0) return {};
    const Vorlanrecord* const record = vorlangetrec(node);
    const Vorlanrecord none;  // named, so that no record is copied below
    return fieldstostr(record != nullptr ? *record : none);
}

// The sort entries of all satellites. Requires the reader side.
std::vector<SortEntry> sortEntries(std::int32_t order) {
    std::vector<SortEntry> entries;
    entries.reserve(static_cast<std::size_t>(vorlantree.count()));
    VorlanTree::descending(vorlantreeroot(), [&](const Vorlanbintree& node) {
        SortEntry& entry = entries.emplace_back(SortEntry{{}, node.key});
        strtochararr(sortString(node, order), entry.text.data(), entry.text.size());
    });
    return entries;
}

// The smallest keys. Requires the reader side.
void listAscending(std::span<std::int64_t> keys) noexcept {
    std::size_t listed = 0;
    VorlanTree::ascending(vorlantreeroot(), [&](const Vorlanbintree& node) {
        if (listed < keys.size()) keys[listed++] = node.key;
    });
}

}  // namespace

std::int32_t vorlangetnumoftreenodes(std::int32_t selector) noexcept {
    if (selector != 0) return 0;
    const ReadGuard guard;
    return vorlantree.count();
}

void vorlangettreekeys(std::int32_t& count, std::int64_t* keys, std::int32_t order, std::int64_t capacity) {
    std::span<std::int64_t> listed;
    std::vector<SortEntry> entries;
    {
        const ReadGuard guard;
        const std::int32_t nodes = vorlantree.count();
        listed = {keys + count, static_cast<std::size_t>(std::clamp<std::int64_t>(capacity, 0, nodes))};
        if (order >= kByKey) {
            listAscending(listed);
        } else if (!listed.empty()) {
            entries = sortEntries(order);
        }
        count += nodes;
    }
    quicksortiterative(entries);
    if (order == kReversed) std::reverse(entries.begin(), entries.end());
    if (order >= kByKey) return;
    for (std::size_t k = 0; k < listed.size(); ++k)
        listed[k] = entries[k].key;
}

}  // namespace vorlandi
