// A load: what the caller requested, and the results so far. One load may read several files.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "CoreServices/InputUnits.hpp"
#include "CoreServices/Status.hpp"
#include "CoreServices/Texts.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiCardReading/ChunkedReading.hpp"
#include "Vorlandi/VorlandiCardReading/ReadingRules.hpp"

namespace vorlandi {

class Trial;

struct LoadRequest {
    ReadingRules rules = ReadingRules::fixed();
    std::optional<std::int32_t> keyMode = {};  // none: the key modes of the process hold
    bool followsCards = true;
    ThreadRequest threads = {};
};

// The keys of stored records: the first ones in the caller's array, and the number of all.
class StoredKeys {
public:
    StoredKeys() = default;
    StoredKeys(std::int64_t* keys, std::int64_t capacity) noexcept : keys_(keys), capacity_(capacity) {}

    void add(std::int64_t key) noexcept {
        if (keys_ != nullptr && count_ < capacity_) keys_[count_] = key;
        ++count_;
    }
    std::int64_t count() const noexcept { return count_; }

private:
    std::int64_t* keys_ = nullptr;
    std::int64_t capacity_ = 0;
    std::int64_t count_ = 0;
};

class Load {
public:
    Load() = default;
    explicit Load(LoadRequest asked, StoredKeys keys = {}) noexcept : request(asked), stored(keys) {}

    bool has(Rule rule) const noexcept { return request.rules.has(rule); }

    // Something that the caller wanted is missing from the store, and a message has said so.
    void miss() noexcept { complete_ = false; }

    // The status of the load, if its file has `status`.
    std::int32_t statusWith(std::int32_t status) const noexcept {
        return status != kSuccess || complete_ ? status : std::int32_t{kFailure};
    }

    // Forgets what was missed: the file is read again.
    void startAgain() noexcept { complete_ = true; }

    const LoadRequest request{};
    Trial* trial = nullptr;  // while the file is read on the assumption that it has no cards
    StoredKeys stored;
    std::int64_t lastKey = kNoKey;  // what adding the last record returned, 0 for a refused duplicate

private:
    bool complete_ = true;
};

// A file to be loaded: its name, and its bytes if they are in memory.
struct InputFile {
    std::string_view name;
    std::optional<std::string_view> bytes = {};

    // Opens the file to be read line by line, or from its first byte on. Both return 0 or the errno of the failure.
    int open(InputUnit& unit, FileKind kind = FileKind::Any) const;
    int openBytes(std::unique_ptr<ByteSource>& source) const;
};

// The tag of a #VORLANDI card on its way to the next record that is stored.
using InputTag = PaddedText<128>;

}  // namespace vorlandi
