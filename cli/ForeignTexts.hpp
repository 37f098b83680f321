// Makes texts from outside (file names, tags, lines of files) safe to print on a terminal, in CSV or in JSON.
#pragma once

#include <string>
#include <string_view>

namespace vorlandi::cli {

// For a terminal: control characters (C0 and C1), marks that change the direction of the text, and bytes that are not
// UTF-8 become question marks, since they could steer the terminal or disguise what is shown.
std::string printable(std::string_view text);

// A CSV field, in quotes where it needs them. A text that a spreadsheet would take for a formula gets a leading
// apostrophe: quotes don't stop it. Control characters, line ends among them, marks that change the direction of the
// text, and bytes that are not UTF-8 become \xNN, one for each byte, so that every line of the file is a line of the
// table.
std::string csvField(std::string_view text);

// A JSON string with its quotes. Bytes that are not UTF-8 become U+FFFD, so that the document stays valid.
std::string jsonText(std::string_view text);

// The width of a UTF-8 text; each character counts as one column.
std::size_t displayWidth(std::string_view text);

// The longest beginning of a UTF-8 text that fits in `columns`.
std::string_view cutToWidth(std::string_view text, std::size_t columns);

}  // namespace vorlandi::cli
