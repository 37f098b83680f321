#include "WriterSupport.hpp"

#include <algorithm>
#include <cmath>

namespace vorlandi::tools {
namespace {

constexpr int kSignificantDigits = 17;  // enough to give every double back

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

StateFields fittedFields(const Ephemeris& ephemeris, int width, double velocityScale) {
    double position_km = 0.0;
    double velocity_km_s = 0.0;
    for (const auto& point : ephemeris.points) {
        position_km = std::max(position_km, largestComponent(point.state.position_km));
        velocity_km_s = std::max(velocity_km_s, largestComponent(point.state.velocity_km_s));
    }
    return {fitted(width, position_km), fitted(width, velocity_km_s * velocityScale)};
}

std::string columns(const Vector3& vector, FixedField field, double scale, std::string_view gap) {
    return fmt::format("{0}{1:{4}.{5}f}{0}{2:{4}.{5}f}{0}{3:{4}.{5}f}", gap, vector[0] * scale, vector[1] * scale,
                       vector[2] * scale, field.width, field.decimals);
}

std::string list(const Vector3& vector, double scale, std::string_view separator) {
    return fmt::format("{1: .16e}{0}{2: .16e}{0}{3: .16e}", separator, vector[0] * scale, vector[1] * scale,
                       vector[2] * scale);
}

std::string stateList(const State& state, double scale) {
    return list(state.position_km, scale) + " " + list(state.velocity_km_s, scale);
}

void writeCovariance(LineOutput& out, const Covariance21& c) {
    for (std::size_t i = 0; i < c.size(); i += 7)
        out.line("{: .16e} {: .16e} {: .16e} {: .16e} {: .16e} {: .16e} {: .16e}", c[i], c[i + 1], c[i + 2], c[i + 3],
                 c[i + 4], c[i + 5], c[i + 6]);
}

std::string placed(std::initializer_list<Placed> texts) {
    std::string line;
    for (const auto& [column, text] : texts) {
        if (line.size() < column - 1 + text.size()) line.resize(column - 1 + text.size(), ' ');
        line.replace(column - 1, text.size(), text);
    }
    return line;
}

}  // namespace vorlandi::tools
