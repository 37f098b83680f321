// One record of fourteen values per point, as binary records or as lines of text.
#include <algorithm>
#include <bit>

#include "writers/Times.hpp"
#include "writers/Writers.hpp"

namespace vorlandi::writers {
namespace {

constexpr std::size_t kTitleLength = 24;
constexpr std::size_t kDescriptionLength = 76;

// The payload of one record, big-endian on any machine, and the frame around it.
class BinaryRecord {
public:
    void integer(std::int32_t value) { bigEndian(std::bit_cast<std::uint32_t>(value)); }
    void real(double value) { bigEndian(std::bit_cast<std::uint64_t>(value)); }
    void vector(const Vector3& values) {
        for (const double value : values)
            real(value);
    }
    void text(std::string_view value, std::size_t length) {
        payload_.append(value.substr(0, length));
        payload_.append(length - std::min(length, value.size()), ' ');
    }

    // The byte count of the payload is before and after it.
    void writeTo(Lines& out) const {
        BinaryRecord count;
        count.integer(static_cast<std::int32_t>(payload_.size()));
        out.text(count.payload_);
        out.text(payload_);
        out.bytes(count.payload_);
    }

private:
    template <typename Unsigned>
    void bigEndian(Unsigned bits) {
        for (int shift = static_cast<int>(sizeof bits) * 8 - 8; shift >= 0; shift -= 8)
            payload_.push_back(static_cast<char>(static_cast<unsigned char>(bits >> shift)));
    }

    std::string payload_;
};

// The times of an example are whole milliseconds, rounded once from there.
double fileTime(double time, Style style) {
    if (style == Style::Exact) return daysSince1970(time);
    return static_cast<double>(roundedToMilliseconds(time) + 86400000) / 86400000.0;
}

double secondsSinceFirst(const Ephemeris& ephemeris, std::size_t i) {
    const auto first = roundedToMilliseconds(ephemeris.times.front());
    return static_cast<double>(roundedToMilliseconds(ephemeris.times[i]) - first) / 1000.0;
}

}  // namespace

void writeDceBinary(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    BinaryRecord title;
    title.text("DCE EPHEMERIS", kTitleLength);
    title.writeTo(out);
    BinaryRecord satellite;
    satellite.integer(ephemeris.number);
    satellite.writeTo(out);
    BinaryRecord description;
    description.text("ECI, KM, KM/S, DAYS SINCE 1970 JAN 0.0 UTC", kDescriptionLength);
    description.writeTo(out);
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        BinaryRecord data;
        data.integer(ephemeris.number);  // not read, like the next two
        data.integer(static_cast<std::int32_t>(i + 1));
        data.real(secondsSinceFirst(ephemeris, i));
        data.real(fileTime(ephemeris.times[i], out.style()));
        data.vector(ephemeris.states[i].position_km);
        data.vector(ephemeris.states[i].velocity_km_s);
        for (int unused = 0; unused < 4; ++unused)
            data.real(0.0);
        data.writeTo(out);
    }
}

void writeDceText(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    out.line("{}", ephemeris.number);  // no other digit on this line, none of them after column 9
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        const double time = fileTime(ephemeris.times[i], out.style());
        // two integers and a real that are not read, days since 1970 Jan 0.0, the state (km, km/s), four not read
        out.line("{} {} {:.3f} {} {} 0.0 0.0 0.0 0.0", ephemeris.number, i + 1, secondsSinceFirst(ephemeris, i),
                 out.style() == Style::Example ? fmt::format("{:.12f}", time) : shortest(time),
                 out.list(ephemeris.states[i]));
    }
}

}  // namespace vorlandi::writers
