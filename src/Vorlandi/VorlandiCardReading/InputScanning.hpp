// Input scanning: the passes over an input file. A card pass follows the cards that name ephemeris files; an ephemeris
// pass hands each recognised block to its reader and stores the record that it fills. The records of files on cards
// come first. A file is tried without a card pass, which shows whether it has cards.
//
// Nothing is locked while a file is read. Status: 0; 2 if reading failed, and what was stored before stays; or the
// errno of a failed open. By the practical rules it is also 2 if anything was left out; a message says what.
//
// By the fixed rules a read error outside a block doesn't change the status: a message and a bad line for the read
// observer report it.
#pragma once

#include <cstdint>
#include <string_view>

#include "CoreServices/InputUnits.hpp"
#include "Vorlandi/VorlandiCardReading/LoadRequest.hpp"

namespace vorlandi {

// Reads a file: one whose name ends in .DCE as DCE binary, any other in a card pass and an ephemeris pass.
std::int32_t readvorlansfrfile(const InputFile& file, Load& load);

// The passes over an open unit. A file without cards is read once.
std::int32_t readvorlansfrfileunit(InputUnit& unit, const InputFile& file, Load& load);

// Reads a file in an ephemeris pass only, by the fixed rules. Returns the key of the record stored last, or of the last
// duplicate; -1 if there is none or reading failed.
std::int64_t addvorlanfile(std::string_view fileName);

// An ephemeris pass. The tag labels the records stored, and the first one of a text file blanks it.
std::int32_t ReadOnlyVorlans(InputUnit& unit, const InputFile& file, InputTag& tag, Load& load);

}  // namespace vorlandi
