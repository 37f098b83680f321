// The text of a file: buffered lines, and the numbers in them.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "writers/Ephemeris.hpp"

namespace vorlandi::writers {

// Exact: the same doubles are read back; numbers have the fewest digits for that. Example: the plainest file that a
// reader accepts, with aligned numbers of 17 digits and times in whole milliseconds.
enum class Style { Exact, Example };

// Collects lines and passes them on in large pieces.
class Lines {
public:
    using Sink = std::function<void(std::string_view)>;

    // An exception of the sink leaves through the call that filled the piece.
    Lines(Sink sink, Style style) : sink_(std::move(sink)), style_(style) {}
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    Style style() const { return style_; }

    template <typename... Arguments>
    void line(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        fmt::format_to(std::back_inserter(buffer_), format, std::forward<Arguments>(arguments)...);
        end();
    }

    // Parts of a line, and its end. A number has its fewest digits.
    void text(std::string_view part) { buffer_.append(part.data(), part.data() + part.size()); }
    void number(double value);
    void numbersOf(const State& state);  // position and velocity, a blank before each number
    void end() { bytes("\n"); }

    // The last part of a binary record.
    void bytes(std::string_view part) {
        text(part);
        if (buffer_.size() >= kPieceSize) handOn();
    }

    // Three numbers as a list, in the style of the file: in an example each has a place for its sign.
    std::string list(const Vector3& vector, double scale = 1.0, std::string_view separator = " ") const;

    // Position and velocity as a list.
    std::string list(const State& state, double scale = 1.0) const;

    // Writes `count` items in calls for some of them at a time, on several threads if there are many.
    using Block = std::function<void(std::size_t first, std::size_t last, Lines& out)>;
    void inBlocks(std::size_t count, const Block& block);

    // Three lines of seven numbers: the lower triangle, row by row.
    void covariance(const Covariance& covariance);

    // Passes on the rest.
    void handOn();

private:
    static constexpr std::size_t kPieceSize = 1 << 16;

    Sink sink_;
    Style style_;
    fmt::memory_buffer buffer_;
};

// The fewest digits that read back to the same double.
std::string shortest(double value);

// A fixed column: an explicit decimal point, right-aligned, the first place reserved for the sign.
struct FixedField {
    int width;
    int decimals;
};

// The fields that show the most decimals that a column of that width can hold, up to 17 significant digits. They are
// the same for a whole file, so that decimal points are aligned.
struct StateFields {
    FixedField position;
    FixedField velocity;
};
StateFields fittedFields(const Ephemeris& ephemeris, int width, double velocityScale = 1.0);

// Three fixed columns, with as many unread blanks before each as the layout has between its fields.
std::string columns(const Vector3& vector, FixedField field, double scale = 1.0, std::string_view gap = "");

// A line with texts at given columns, counted from 1, and blanks elsewhere.
struct Placed {
    std::size_t column;
    std::string_view text;
};
std::string placed(std::initializer_list<Placed> texts);

}  // namespace vorlandi::writers
