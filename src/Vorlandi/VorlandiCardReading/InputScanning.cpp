#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"

#include "CoreServices/Texts.hpp"
#include "Vorlandi/VorlandiCardReading/CardPass.hpp"
#include "Vorlandi/VorlandiCardReading/EphemerisPass.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

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

std::int32_t readvorlansfrfileunit(InputUnit& unit, const InputFile& file, Load& load) {
    InputTag tag;
    unit.rewind();
    CardPass cards(unit, file, tag, load);
    const std::int64_t unreadable = cards.run();
    unit.rewind();

    EphemerisPass pass(unit, file, tag, load);
    const std::int32_t status = pass.run();
    // An error that is still there is reported by the pass.
    if (unreadable > 0 && !pass.readFailed()) {
        blockFailed({file.name, unreadable, {}}, "readvorlansfrfileunit", kFileReadError);
    }
    if (load.has(Rule::UnrecognisedFileFails) && !pass.foundBlock() && !cards.foundCard()) {
        reportUnrecognised(file.name, pass.foreignFormat());
        load.miss();
    }
    return load.statusWith(status);
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
