// Numbers for people to read, in the texts of findings.
#pragma once

#include <string>

namespace vorlandi::analysis {

// Three significant digits: 0.00123, 12.3, 870; with a power of ten where they would be long.
std::string roundedText(double value);

// A length with the unit that suits it: "870 km", "2.5 m", "0.4 mm".
std::string lengthText(double metres);

std::string speedText(double metresPerSecond);

// "1 point", "2 points".
std::string countText(std::size_t count, const char* what);

// "1 point is", "2 points are".
const char* isOrAre(std::size_t count);
std::string countIsText(std::size_t count, const char* what);

}  // namespace vorlandi::analysis
