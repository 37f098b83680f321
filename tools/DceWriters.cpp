// One record of fourteen values per point, as binary records or as lines of text.
#include <algorithm>
#include <bit>

#include "EphemerisWriters.hpp"
#include "WriterSupport.hpp"

namespace vorlandi::tools {
namespace {

constexpr std::size_t kTitleLength = 24;
constexpr std::size_t kDescriptionLength = 76;

// The payload of one record, big-endian whatever the machine, and the frame around it.
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

    // The byte count of the payload stands before and behind it.
    void writeTo(std::ostream& stream) const {
        BinaryRecord count;
        count.integer(static_cast<std::int32_t>(payload_.size()));
        stream << count.payload_ << payload_ << count.payload_;
    }

private:
    template <typename Unsigned>
    void bigEndian(Unsigned bits) {
        for (int shift = static_cast<int>(sizeof bits) * 8 - 8; shift >= 0; shift -= 8)
            payload_.push_back(static_cast<char>(static_cast<unsigned char>(bits >> shift)));
    }

    std::string payload_;
};

}  // namespace

void writeDceBinary(const Ephemeris& ephemeris, std::ostream& stream) {
    BinaryRecord title;
    title.text("DCE EPHEMERIS", kTitleLength);
    title.writeTo(stream);
    BinaryRecord satellite;
    satellite.integer(ephemeris.satelliteNumber);
    satellite.writeTo(stream);
    BinaryRecord description;
    description.text("ECI, KM, KM/S, DAYS SINCE 1970 JAN 0.0 UTC", kDescriptionLength);
    description.writeTo(stream);
    std::int32_t number = 0;
    for (const auto& point : ephemeris.points) {
        BinaryRecord data;
        data.integer(ephemeris.satelliteNumber);  // not read, like the next two
        data.integer(++number);
        data.real(secondsBetween(ephemeris.epoch(), point.time));
        data.real(daysSince1970(point.time));
        data.vector(point.state.position_km);
        data.vector(point.state.velocity_km_s);
        for (int i = 0; i < 4; ++i)
            data.real(0.0);  // not read
        data.writeTo(stream);
    }
}

void writeDceText(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    out.line("{}", ephemeris.satelliteNumber);  // no other digit on this line, none of them after column 9
    std::int32_t number = 0;
    for (const auto& point : ephemeris.points) {
        // two integers and a real that are not read, days since 1970 Jan 0.0, the state (km, km/s), four not
        // read
        out.line("{} {} {:.3f} {:.12f} {} {} 0.0 0.0 0.0 0.0", ephemeris.satelliteNumber, ++number,
                 secondsBetween(ephemeris.epoch(), point.time), daysSince1970(point.time),
                 list(point.state.position_km), list(point.state.velocity_km_s));
    }
}

}  // namespace vorlandi::tools
