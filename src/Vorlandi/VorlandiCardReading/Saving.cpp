#include "Vorlandi/VorlandiCardReading/Saving.hpp"

#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

void writeLine(std::FILE* unit, const std::string& line) { std::fprintf(unit, "%s\n", line.c_str()); }

std::string tagCard(const Vorlanrecord& record) { return "#VORLANDI = " + record.inputTag.padded(); }

}  // namespace

std::string fileCard(const Vorlanrecord& record) noexcept { return "EPHFIL = " + record.fileName.padded(); }

void vorlanwritelines(std::FILE* unit) {
    const ReadGuard guard;
    VorlanTree::preOrder(vorlantreeroot(), [=](const Vorlanbintree& node) {
        static const Vorlanrecord kNone{};
        const Vorlanrecord* const record = recordOf(node);
        const Vorlanrecord& written = record != nullptr ? *record : kNone;
        if (!written.inputTag.blank()) writeLine(unit, tagCard(written));
        writeLine(unit, fileCard(written));
        return false;
    });
}

std::int32_t savevorlans(std::string_view fileName, FileMode mode) noexcept {
    OutputUnit unit;
    if (const int error = fileopen(fileName, mode, unit); error != 0) return error;
    std::fputs("\n\n\n*** External Ephemeris Input Files ***\n", unit.get());
    vorlanwritelines(unit.get());
    return 0;
}

}  // namespace vorlandi
