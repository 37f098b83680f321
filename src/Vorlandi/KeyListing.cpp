// Counting and listing of the keys in the store.
#include <algorithm>
#include <cstring>
#include <vector>

#include "CoreServices/NumberFields.hpp"
#include "CoreServices/Sorting.hpp"
#include "CoreServices/TraceLog.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

constexpr std::int32_t kReversed = 1;
constexpr std::int32_t kByInsertion = 2;
constexpr std::int32_t kByKey = 3;  // and above

std::string sortString(const Vorlanbintree& node, std::int32_t order) {
    if (order == kByInsertion) return integerField(node.sequenceNumber, 12, 12);
    if (order < 0) return {};
    const Vorlanrecord* const record = recordOf(node);
    return fieldstostr(record != nullptr ? *record : Vorlanrecord{});
}

}  // namespace

std::int32_t vorlangetnumoftreenodes(std::int32_t selector) noexcept {
    if (selector != 0) return 0;
    const ReadGuard guard;
    std::int32_t count = 0;
    VorlanTree::ascending(vorlantreeroot(), [&](const Vorlanbintree&) { ++count; });
    return count;
}

void vorlangettreekeys(std::int32_t& count, std::int64_t* keys, std::int32_t order) noexcept {
    if (order >= kByKey) {
        VorlanTree::ascending(vorlantreeroot(), [&](const Vorlanbintree& node) { keys[count++] = node.key; });
        return;
    }
    const auto nodes = static_cast<std::size_t>(vorlangetnumoftreenodes());
    std::vector<SortEntry> entries;
    try {
        entries.reserve(nodes);
    } catch (const std::exception&) {
        stopOnAllocationFailure(nodes * sizeof(SortEntry));
    }
    VorlanTree::descending(vorlantreeroot(), [&](const Vorlanbintree& node) {
        if (entries.size() == nodes) return;  // added since the count: the caller has no room for it
        SortEntry& entry = entries.emplace_back(SortEntry{{}, node.key});
        strtochararr(sortString(node, order), entry.text.data(), entry.text.size());
    });
    quicksortiterative(entries);
    if (order == kReversed) std::reverse(entries.begin(), entries.end());
    for (const SortEntry& entry : entries)
        keys[count++] = entry.key;
}

}  // namespace vorlandi
