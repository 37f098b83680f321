// Saving: a card file that names the input file of every stored record.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "CoreServices/InputUnits.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

// "EPHFIL = " and the 512 characters of the record's file name.
std::string fileCard(const Vorlanrecord& record) noexcept;

// Writes the cards of all records in pre-order of the tree. Holds the reader side of the store throughout.
void vorlanwritelines(std::FILE* unit);

// Opens the file and writes title and cards into it. 0, or the errno of the failed open.
std::int32_t savevorlans(std::string_view fileName, FileMode mode) noexcept;

}  // namespace vorlandi
