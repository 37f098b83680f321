// Counting and listing of the keys in the store.
#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include "CoreServices/NumberFields.hpp"
#include "CoreServices/Sorting.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

constexpr std::int32_t kReversed = 1;
constexpr std::int32_t kByInsertion = 2;
constexpr std::int32_t kByKey = 3;  // and above

// A key and its sort criteria. The numbers compare as the sort strings do, except that epochs less than a billionth of
// a day apart are not ties.
struct NumberedKey {
    std::uint64_t numberAndFrame;
    double epoch;  // Ds50UTC
    std::int64_t key;
    bool operator<(const NumberedKey& other) const noexcept {
        return numberAndFrame != other.numberAndFrame ? numberAndFrame < other.numberAndFrame : epoch < other.epoch;
    }
};
struct SequencedKey {
    std::int32_t sequence;
    std::int64_t key;
    bool operator<(const SequencedKey& other) const noexcept { return sequence < other.sequence; }
};

// "I9.9": a number that doesn't fit is written as asterisks, which come before digits.
std::uint64_t rankOfNumber(std::int32_t satNum) noexcept {
    return satNum >= 0 && satNum <= kLargestSatNum ? static_cast<std::uint64_t>(satNum) + 1 : 0;
}

// "I2": one digit after a blank, asterisks, a digit after a minus, two digits.
std::uint64_t rankOfFrame(std::int32_t coordSys) noexcept {
    constexpr std::int64_t kAsterisks = 10, kTwoDigits = 20;
    if (coordSys >= 0 && coordSys < 10) return static_cast<std::uint64_t>(coordSys);
    if (coordSys < 0 && coordSys > -10) return static_cast<std::uint64_t>(kAsterisks - coordSys);
    if (coordSys >= 10 && coordSys < 100) return static_cast<std::uint64_t>(kTwoDigits + coordSys);
    return kAsterisks;
}

// Is the text of an epoch in "F16.9" ordered as its value is? Not if it has a sign, doesn't fit or is not a number.
bool isOrderedAsText(double epoch) noexcept { return epoch >= 0.0 && epoch < 999'999.0 && !std::signbit(epoch); }

// What the listing takes from the store, in descending order of keys; one of the three.
struct Gathered {
    std::vector<NumberedKey> byNumber;
    std::vector<SequencedKey> bySequence;
    std::vector<SortEntry> byText;
};

class Gathering {
public:
    // Requires the reader side as long as the object lives.
    Gathering() {
        nodes_.reserve(static_cast<std::size_t>(vorlantree.count()));
        VorlanTree::descending(vorlantreeroot(), [&](const Vorlanbintree& node) { nodes_.push_back(&node); });
    }

    Gathered by(std::int32_t order) const {
        Gathered gathered;
        if (order == kByInsertion) {
            gathered.bySequence.reserve(nodes_.size());
            // A counter that has passed its end is written as asterisks.
            for (const Vorlanbintree* const node : nodes_)
                gathered.bySequence.push_back({std::max(node->sequenceNumber, -1), node->key});
        } else if (!gatherNumbers(gathered.byNumber)) {
            gathered.byNumber.clear();
            gatherTexts(gathered.byText);
        }
        return gathered;
    }

private:
    // Calls `take` with each node and its record, or an empty one. The records are spread over memory, so they are
    // prefetched.
    template <class Take>
    bool forEachRecord(Take&& take) const {
        constexpr std::size_t kAhead = 12;
        const Vorlanrecord none;
        for (std::size_t k = 0; k < nodes_.size(); ++k) {
            if (k + kAhead < nodes_.size()) __builtin_prefetch(nodes_[k + kAhead]->record.get());
            const Vorlanrecord* const record = vorlangetrec(*nodes_[k]);
            if (!take(*nodes_[k], record != nullptr ? *record : none)) return false;
        }
        return true;
    }

    // False if the order of the epochs differs from the order of their texts.
    bool gatherNumbers(std::vector<NumberedKey>& entries) const {
        entries.reserve(nodes_.size());
        return forEachRecord([&](const Vorlanbintree& node, const Vorlanrecord& record) {
            entries.push_back(
                {rankOfNumber(record.satNum) << 8 | rankOfFrame(record.coordSys), record.epoch, node.key});
            return isOrderedAsText(record.epoch);
        });
    }

    void gatherTexts(std::vector<SortEntry>& entries) const {
        entries.reserve(nodes_.size());
        forEachRecord([&](const Vorlanbintree& node, const Vorlanrecord& record) {
            SortEntry& entry = entries.emplace_back(SortEntry{{}, node.key});
            strtochararr(fieldstostr(record), entry.text.data(), entry.text.size());
            return true;
        });
    }

    std::vector<const Vorlanbintree*> nodes_;
};

// Lists the keys of entries in ascending or descending order. Keys begin with the number and are often in reverse
// order already.
template <class Entry>
void listSorted(std::vector<Entry>& entries, bool reversed, std::span<std::int64_t> keys) {
    const auto notFalling = [](const Entry& a, const Entry& b) { return !(b < a); };
    if (std::adjacent_find(entries.begin(), entries.end(), notFalling) == entries.end()) {
        reversed = !reversed;
    } else {
        quicksortiterative(std::span(entries));
    }
    for (std::size_t k = 0; k < std::min(keys.size(), entries.size()); ++k)
        keys[k] = entries[reversed ? entries.size() - 1 - k : k].key;
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
    Gathered gathered;
    {
        const ReadGuard guard;
        const std::int32_t nodes = vorlantree.count();
        listed = {keys + count, static_cast<std::size_t>(std::clamp<std::int64_t>(capacity, 0, nodes))};
        if (order >= kByKey) {
            listAscending(listed);
        } else if (!listed.empty()) {
            gathered = Gathering().by(order);
        }
        count += nodes;
    }
    const bool reversed = order == kReversed;
    if (!gathered.byNumber.empty()) listSorted(gathered.byNumber, reversed, listed);
    if (!gathered.bySequence.empty()) listSorted(gathered.bySequence, reversed, listed);
    if (!gathered.byText.empty()) listSorted(gathered.byText, reversed, listed);
}

}  // namespace vorlandi
