#include "analysis/Texts.hpp"

#include <array>
#include <charconv>
#include <cmath>

namespace vorlandi::analysis {

std::string roundedText(double value) {
    // Numbers of three digits without the power of ten that the general form would choose for them.
    const bool isPlain = std::abs(value) >= 100.0 && std::abs(value) < 1e6;
    std::array<char, 32> text;
    const auto end = isPlain
                         ? std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 0)
                         : std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 3);
    return {text.data(), end.ptr};
}

std::string lengthText(double metres) {
    const double size = std::abs(metres);
    if (size >= 1e3) return roundedText(metres / 1e3) + " km";
    if (size >= 0.1 || size == 0.0) return roundedText(metres) + " m";
    return roundedText(metres * 1e3) + " mm";
}

std::string speedText(double metresPerSecond) {
    return std::abs(metresPerSecond) < 0.1 ? roundedText(metresPerSecond * 1e3) + " mm/s"
                                           : roundedText(metresPerSecond) + " m/s";
}

std::string countText(std::size_t count, const char* what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

const char* isOrAre(std::size_t count) { return count == 1 ? "is" : "are"; }

std::string countIsText(std::size_t count, const char* what) { return countText(count, what) + " " + isOrAre(count); }

}  // namespace vorlandi::analysis
