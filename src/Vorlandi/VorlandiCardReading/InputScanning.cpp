#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"

#include "CoreServices/Texts.hpp"
#include "Vorlandi/VorlandiCardReading/CardPass.hpp"
#include "Vorlandi/VorlandiCardReading/EphemerisPass.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiCardReading/Trial.hpp"

namespace vorlandi {

int InputFile::open(InputUnit& unit, FileKind kind) const {
    if (!bytes) return fileopenmt(name, unit, kind);
    unit = InputUnit(memorySource(*bytes));
    return 0;
}

int InputFile::openBytes(std::unique_ptr<ByteSource>& source) const {
    if (!bytes) return openByteSource(replacestring(name, '\\', '/'), source, FileKind::Regular);
    source = memorySource(*bytes);
    return 0;
}

std::int32_t readvorlansfrfile(const InputFile& file, Load& load) {
    const bool isBinary = fileisdotdce(file.name);
    InputUnit unit;
    if (const int error = file.open(unit); error != 0) return error;
    InputTag tag;
    return isBinary ? load.statusWith(ReadOnlyVorlans(unit, file, tag, load)) : readvorlansfrfileunit(unit, file, load);
}

namespace {

// The end of a load, when the passes over its file are done.
std::int32_t finish(const EphemerisPass& pass, std::int32_t status, bool foundCard, const InputFile& file, Load& load) {
    if (load.has(Rule::UnrecognisedFileFails) && !pass.foundBlock() && !foundCard) {
        reportUnrecognised(file.name, pass.foreignFormat());
        load.miss();
    }
    return load.statusWith(status);
}

// Reads a file that has no cards. No result if it has cards or can't be read; then nothing was stored or reported.
std::optional<std::int32_t> readWithoutCards(InputUnit& unit, const InputFile& file, Load& load) {
    Trial trial(unit);
    if (!trial.mayBegin()) return std::nullopt;
    load.trial = &trial;
    struct End {
        ~End() { load.trial = nullptr; }
        Load& load;
    } const end{load};
    InputTag tag;
    EphemerisPass pass(unit, file, tag, load);
    std::int32_t status = kFailure;
    try {
        status = pass.run();
    } catch (...) {
        if (trial.settle()) throw;
    }
    if (trial.settle()) return finish(pass, status, false, file, load);
    load.startAgain();
    return std::nullopt;
}

}  // namespace

std::int32_t readvorlansfrfileunit(InputUnit& unit, const InputFile& file, Load& load) {
    unit.rewind();
    if (unit.size() >= 0) {
        if (const auto status = readWithoutCards(unit, file, load)) return *status;
        unit.rewind();
    }

    InputTag tag;
    CardPass cards(unit, file, tag, load);
    const std::int64_t unreadable = cards.run();
    unit.rewind();

    EphemerisPass pass(unit, file, tag, load);
    const std::int32_t status = pass.run();
    // The pass reports an error that persists.
    if (unreadable > 0 && !pass.readFailed()) {
        blockFailed({file.name, unreadable, {}}, "readvorlansfrfileunit", kFileReadError);
    }
    return finish(pass, status, cards.foundCard(), file, load);
}

std::int64_t addvorlanfile(std::string_view fileName) {
    const InputFile file{fileName};
    InputUnit unit;
    if (file.open(unit) != 0) return kNoKey;
    InputTag tag;
    Load load;
    return ReadOnlyVorlans(unit, file, tag, load) == kSuccess ? load.lastKey : kNoKey;
}

std::int32_t ReadOnlyVorlans(InputUnit& unit, const InputFile& file, InputTag& tag, Load& load) {
    return EphemerisPass(unit, file, tag, load).run();
}

}  // namespace vorlandi
