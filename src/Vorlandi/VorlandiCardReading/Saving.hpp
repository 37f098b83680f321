// Saving: a card file that names the input file of every stored record.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "CoreServices/OutputUnits.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

constexpr std::string_view kFileKey = "EPHFIL = ";
constexpr std::size_t kFileNameLength = 512;
using FileCard = InlineChars<kFileKey.size() + kFileNameLength>;

// The card of a record's file: the key and the 512 characters of the name, as they are.
FileCard fileCard(const Vorlanrecord& record) noexcept;

// Appends the cards of all records in pre-order of the tree, each on a line of its own: a line feed in a name or a tag
// becomes a blank. Holds the reader side of the store meanwhile.
void vorlanwritelines(std::string& text);

// Writes title and cards to a file. Threads that save to the same file do so one after the other, each with the store
// as it is when its turn begins. The store is free while the file is written, however long that takes. Returns 0 or the
// errno of the failed open. Throws std::bad_alloc when memory is short: an existing file is then untouched, a new one
// empty.
std::int32_t savevorlans(std::string_view fileName, FileMode mode);

}  // namespace vorlandi
