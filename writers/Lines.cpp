#include "writers/Lines.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <future>
#include <thread>
#include <vector>

namespace vorlandi::writers {
namespace {

constexpr int kSignificantDigits = 17;  // enough to restore every double
constexpr std::size_t kLongestNumber = 32;

double largestComponent(const Vector3& vector) {
    return std::max({std::abs(vector[0]), std::abs(vector[1]), std::abs(vector[2])});
}

// Counted on the value rounded up, so that rounding to the decimals shown can't need one digit more.
int wholeDigits(double largest) { return static_cast<int>(fmt::formatted_size("{:.0f}", std::ceil(largest))); }

FixedField fitted(int width, double largest) {
    const int whole = wholeDigits(largest);
    const int signAndPoint = 2;
    return {width, std::max(0, std::min(width - signAndPoint, kSignificantDigits) - whole)};
}

}  // namespace

void Lines::number(double value) {
    const std::size_t size = buffer_.size();
    buffer_.resize(size + kLongestNumber);
    char* const begin = buffer_.data() + size;
    buffer_.resize(size + static_cast<std::size_t>(std::to_chars(begin, begin + kLongestNumber, value).ptr - begin));
}

void Lines::numbersOf(const State& state) {
    constexpr std::size_t kNumbers = 6;
    const std::size_t size = buffer_.size();
    buffer_.resize(size + kNumbers * (kLongestNumber + 1));
    char* at = buffer_.data() + size;
    for (const Vector3* vector : {&state.position_km, &state.velocity_km_s}) {
        for (const double value : *vector) {
            *at++ = ' ';
            at = std::to_chars(at, at + kLongestNumber, value).ptr;
        }
    }
    buffer_.resize(static_cast<std::size_t>(at - buffer_.data()));
}

void Lines::handOn() {
    sink_({buffer_.data(), buffer_.size()});
    buffer_.clear();
}

void Lines::inBlocks(std::size_t count, const Block& block) {
    constexpr std::size_t kItems = 8192;
    const std::size_t threads = std::clamp(std::thread::hardware_concurrency(), 1U, 8U);
    if (threads == 1 || count <= kItems) return block(0, count, *this);

    const auto textOf = [&](std::size_t first) {
        std::string text;
        Lines lines([&](std::string_view piece) { text += piece; }, style_);
        block(first, std::min(first + kItems, count), lines);
        lines.handOn();
        return text;
    };
    handOn();
    for (std::size_t round = 0; round < count; round += threads * kItems) {
        std::vector<std::future<std::string>> others;
        for (std::size_t first = round + kItems; first < std::min(round + threads * kItems, count); first += kItems)
            others.push_back(std::async(std::launch::async | std::launch::deferred, textOf, first));
        sink_(textOf(round));
        for (std::future<std::string>& other : others)
            sink_(other.get());
    }
}

std::string Lines::list(const Vector3& vector, double scale, std::string_view separator) const {
    const auto& [x, y, z] = vector;
    if (style_ == Style::Example)
        return fmt::format("{1: .16e}{0}{2: .16e}{0}{3: .16e}", separator, x * scale, y * scale, z * scale);
    return fmt::format("{1}{0}{2}{0}{3}", separator, shortest(x * scale), shortest(y * scale), shortest(z * scale));
}

std::string Lines::list(const State& state, double scale) const {
    return list(state.position_km, scale) + " " + list(state.velocity_km_s, scale);
}

void Lines::covariance(const Covariance& covariance) {
    constexpr std::size_t kNumbersPerLine = 7;
    for (std::size_t i = 0; i < covariance.size(); ++i) {
        if (i % kNumbersPerLine != 0) text(" ");
        if (style_ == Style::Example)
            text(fmt::format("{: .16e}", covariance[i]));
        else
            number(covariance[i]);
        if ((i + 1) % kNumbersPerLine == 0) end();
    }
}

std::string shortest(double value) {
    std::array<char, kLongestNumber> digits;
    return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr};
}

StateFields fittedFields(const Ephemeris& ephemeris, int width, double velocityScale) {
    double position_km = 0.0;
    double velocity_km_s = 0.0;
    for (const State& state : ephemeris.states) {
        position_km = std::max(position_km, largestComponent(state.position_km));
        velocity_km_s = std::max(velocity_km_s, largestComponent(state.velocity_km_s));
    }
    return {fitted(width, position_km), fitted(width, velocity_km_s * velocityScale)};
}

std::string columns(const Vector3& vector, FixedField field, double scale, std::string_view gap) {
    return fmt::format("{0}{1:{4}.{5}f}{0}{2:{4}.{5}f}{0}{3:{4}.{5}f}", gap, vector[0] * scale, vector[1] * scale,
                       vector[2] * scale, field.width, field.decimals);
}

std::string placed(std::initializer_list<Placed> texts) {
    std::string line;
    for (const auto& [column, text] : texts) {
        if (line.size() < column - 1 + text.size()) line.resize(column - 1 + text.size(), ' ');
        line.replace(column - 1, text.size(), text);
    }
    return line;
}

}  // namespace vorlandi::writers
