#include "Vorlandi/VorlandiCardReading/Saving.hpp"

#include <algorithm>
#include <array>

#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kTitle = "\n\n\n*** External Ephemeris Input Files ***\n";
constexpr std::string_view kTagKey = "#VORLANDI = ";
constexpr std::size_t kTagLength = 128;

// Appends a line with a key and its value, padded to `length`. A line feed in the value would begin another card.
void appendCard(std::string& text, std::string_view key, std::string_view value, std::size_t length) {
    text += key;
    const std::size_t start = text.size();
    text += value;
    std::replace(text.begin() + static_cast<std::ptrdiff_t>(start), text.end(), '\n', ' ');
    text.append(length - value.size(), ' ');
    text += '\n';
}

}  // namespace

FileCard fileCard(const Vorlanrecord& record) noexcept {
    std::array<char, kFileKey.size() + kFileNameLength> chars;
    record.fileName.copyTo(std::copy(kFileKey.begin(), kFileKey.end(), chars.data()));
    FileCard card;
    card = std::string_view(chars.data(), chars.size());
    return card;
}

void vorlanwritelines(std::string& text) {
    const ReadGuard guard;
    VorlanTree::preOrder(vorlantreeroot(), [&](const Vorlanbintree& node) {
        const Vorlanrecord* const record = vorlangetrec(node);
        const bool hasTag = record != nullptr && !record->inputTag.blank();
        if (hasTag) appendCard(text, kTagKey, record->inputTag.view(), kTagLength);
        const std::string_view fileName = record != nullptr ? record->fileName.view() : std::string_view();
        appendCard(text, kFileKey, fileName, kFileNameLength);
        return false;
    });
}

// Takes the turn for the file before it reads the store: of two saves to one file, the one that writes last also
// writes the newer content.
std::int32_t savevorlans(std::string_view fileName, FileMode mode) {
    OutputUnit unit;
    if (const int error = fileopen(fileName, mode, unit); error != 0) return error;
    const OutputTurn turn(unit);
    std::string text(kTitle);
    vorlanwritelines(text);
    if (const int error = mode == FileMode::Replace ? unit.empty() : 0; error != 0) return error;
    unit.write(text);  // a failed write is not reported: the status is the open's
    return kSuccess;
}

}  // namespace vorlandi
