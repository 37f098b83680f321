// Input scanning: the passes over an input file. A card pass follows the cards that name ephemeris files, one level
// deep; an ephemeris pass passes each recognised block to its reader and stores the record that it fills.
//
// Nothing is locked while a file is read. Status: 0; 2 if reading failed, and what was stored before stays; or the errno
// of a failed open.
//
// A read error outside a block doesn't change the status: a message and a bad line for the read observer tell of it.
#pragma once

#include <cstdint>
#include <string_view>

#include "CoreServices/InputUnits.hpp"
#include "CoreServices/Texts.hpp"

namespace vorlandi {

// The tag of a #VORLANDI card on its way to the next record that is stored.
using InputTag = PaddedText<128>;

// Reads a file: one whose name ends in .DCE as DCE binary, any other in a card pass and an ephemeris pass.
std::int32_t readvorlansfrfile(std::string_view fileName);

// The card pass: reads the files that cards name, and goes back to the unit's first line. `tag` receives the text of the
// last tag card if no record has taken it. Returns the number of the line that could not be read, 0 if there is none:
// nothing has been said of it yet.
//
// A file that can't be read is skipped, and the read observer is told. There is a message only if the system is short of
// something, such as descriptors.
std::int64_t followCards(InputUnit& unit, std::string_view fileName, InputTag& tag);

// The two passes over an open unit.
std::int32_t readvorlansfrfileunit(InputUnit& unit, std::string_view fileName);

// Reads a file in an ephemeris pass alone. Returns the key of the record stored last, -1 if there is none or reading
// failed.
std::int64_t addvorlanfile(std::string_view fileName);

// An ephemeris pass. The tag labels the records stored, and the first one of a text file blanks it;
// `satKeyOut`, when given, receives the key of each.
std::int32_t ReadOnlyVorlans(InputUnit& unit, std::string_view fileName, InputTag& tag,
                             std::int64_t* satKeyOut = nullptr);

}  // namespace vorlandi
