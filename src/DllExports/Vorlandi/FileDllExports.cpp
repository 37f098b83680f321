// The exported functions of vorlandi/vorlandi.h that read and write files.
#include "CoreServices/KeyModes.hpp"
#include "CoreServices/TraceLog.hpp"
#include "DllExports/DllDoor.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "Vorlandi/VorlandiCardReading/Saving.hpp"
#include "vorlandi/vorlandi.h"

using namespace vorlandi;

namespace {

constexpr std::int32_t kAllOptions =
    VORLAN_LOAD_PRACTICAL | VORLAN_LOAD_DMA_KEYS | VORLAN_LOAD_NO_CARDS | VORLAN_LOAD_THREADS;

LoadRequest requestOf(std::int32_t options) noexcept {
    LoadRequest request;
    if ((options & VORLAN_LOAD_PRACTICAL) != 0) request.rules = ReadingRules::practical();
    if ((options & VORLAN_LOAD_DMA_KEYS) != 0) request.keyMode = kDmaKeyMode;
    request.threads.isAllowed = (options & VORLAN_LOAD_THREADS) != 0;
    request.followsCards = (options & VORLAN_LOAD_NO_CARDS) == 0;
    return request;
}

std::int32_t announceAndRead(const InputFile& file, Load& load) {
    traceloginfo(MessageText("VorlanLoadFile: Reading VORLANs from file \"") << file.name << "\".");
    return readvorlansfrfile(file, load);
}

// Reads a file and reports what it stored, even if it ends with an exception.
std::int32_t loadAndCount(const InputFile& file, std::int32_t options, const StoredKeys& keys, std::int64_t* count) {
    Load load(requestOf(options), keys);
    struct Count {
        ~Count() { setOutput(output, load.stored.count()); }
        Load& load;
        std::int64_t* output;
    } const counting{load, count};
    try {
        return announceAndRead(file, load);
    } catch (const StorageFailure&) {
        if (load.request.rules.arePractical()) throw std::bad_alloc();
        throw;
    }
}

}  // namespace

extern "C" {

int32_t VorlanLoadFile(const char* fileName) {
    return catchAll(__func__, [&] {
        Load load;
        return announceAndRead({fileNameOf(fileName)}, load);
    });
}

int32_t VorlanLoadFileExt(const char* fileName, int32_t options, int64_t capacity, int64_t satKeys[], int64_t* count) {
    return catchAll(__func__, [&]() -> int32_t {
        zero(count);
        if ((options & ~kAllOptions) != 0 || capacity < 0) return kFailure;
        return loadAndCount({fileNameOf(fileName)}, options, {satKeys, capacity}, count);
    });
}

int32_t VorlanLoadBytes(const void* bytes, int64_t size, const char* fileName, int32_t options, int64_t capacity,
                        int64_t satKeys[], int64_t* count) {
    return catchAll(__func__, [&]() -> int32_t {
        zero(count);
        if ((options & ~kAllOptions) != 0 || capacity < 0 || size < 0 || (bytes == nullptr && size > 0)) {
            return kFailure;
        }
        const std::string_view text(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
        return loadAndCount({fileNameOf(fileName), text}, options, {satKeys, capacity}, count);
    });
}

int32_t VorlanSaveFile(const char* fileName, int32_t saveMode) {
    return catchAll(__func__, [&] {
        return savevorlans(fileNameOf(fileName), saveMode != 0 ? FileMode::Append : FileMode::Replace);
    });
}

int64_t VorlanAddSatFrFile(const char* fileName) {
    return catchAll(__func__, [&] { return addvorlanfile(fileNameOf(fileName)); });
}

}  // extern "C"
