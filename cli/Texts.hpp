// Texts of foreign origin (file names, tags, lines of files) made fit for what they are printed in.
#pragma once

#include <string>
#include <string_view>

namespace vorlandi::cli {

// For a terminal: control characters, which could steer it, become question marks.
std::string printable(std::string_view text);

// A CSV field, in quotes where it needs them.
std::string csvField(std::string_view text);

// A JSON string with its quotes. Bytes that are no UTF-8 become U+FFFD, so that the document stays valid.
std::string jsonText(std::string_view text);

// Number of characters of a UTF-8 text, as far as the width of a column is concerned.
std::size_t displayWidth(std::string_view text);

}  // namespace vorlandi::cli
