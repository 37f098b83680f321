// What the text writers share: buffered lines, fixed columns whose decimals fill the field, free-form lists.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "Ephemeris.hpp"

namespace vorlandi::tools {

// Collects lines and hands them to the stream in large pieces.
class LineOutput {
public:
    explicit LineOutput(std::ostream& stream) : stream_(stream) {}
    LineOutput(const LineOutput&) = delete;
    LineOutput& operator=(const LineOutput&) = delete;
    ~LineOutput() { flush(); }

    template <typename... Args>
    void line(fmt::format_string<Args...> format, Args&&... args) {
        fmt::format_to(std::back_inserter(buffer_), format, std::forward<Args>(args)...);
        buffer_.push_back('\n');
        if (buffer_.size() >= kFlushSize) flush();
    }

private:
    static constexpr std::size_t kFlushSize = 1 << 16;

    void flush() {
        stream_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        buffer_.clear();
    }

    std::ostream& stream_;
    fmt::memory_buffer buffer_;
};

// A fixed column: an explicit decimal point, right-aligned, the first place reserved for the sign.
struct FixedField {
    int width;
    int decimals;
};

// The fields that show the most decimals a column of that width can hold, up to 17 significant digits. They
// are the same for a whole file, so that decimal points are aligned.
struct StateFields {
    FixedField position;
    FixedField velocity;
};
StateFields fittedFields(const Ephemeris& ephemeris, int width, double velocityScale = 1.0);

// Three fixed columns, with as many unread blanks before each as the layout has between its fields.
std::string columns(const Vector3& vector, FixedField field, double scale = 1.0, std::string_view gap = "");

// Three numbers of 17 significant digits, each with a place for its sign, for layouts read as a list.
std::string list(const Vector3& vector, double scale = 1.0, std::string_view separator = " ");

// Position and velocity as a list.
std::string stateList(const State& state, double scale = 1.0);

// Three lines of seven numbers: the lower triangle, row by row.
void writeCovariance(LineOutput& out, const Covariance21& covariance);

// A line with texts at given columns, the first column being 1, and blanks elsewhere.
struct Placed {
    std::size_t column;
    std::string_view text;
};
std::string placed(std::initializer_list<Placed> texts);

// Square root of the gravitational parameter in earth radii^1.5 per minute, for headers that name it.
inline constexpr double kKe_er15_min = 0.07436691613317341;

}  // namespace vorlandi::tools
