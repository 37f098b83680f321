// Writes states in one of the output formats. It keeps none of them, so there may be any number.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "Options.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"

namespace vorlandi::cli {

// What is written besides time and state.
struct StateColumns {
    bool covariance = false;
    bool sigma = false;       // radial, in-track, cross-track
    bool error = false;       // the estimated error of the interpolation
    bool revolution = false;  // in the table; the other formats always have it
};

struct StateRow {
    Point point;
    std::optional<std::array<double, 3>> sigma_m;
    std::optional<double> error_m;
};

class StateWriter {
public:
    virtual ~StateWriter() = default;

    // The states of a satellite come between its begin and its end; satellites don't overlap.
    virtual void beginSatellite(const SatelliteRecord& satellite) = 0;
    void state(const StateRow& row) {
        ++count_;
        write(row);
    }
    virtual void endSatellite() {}
    virtual void finish() {}

    // The number of states so far.
    std::int64_t count() const { return count_; }

private:
    virtual void write(const StateRow& row) = 0;

    std::int64_t count_ = 0;
};

std::unique_ptr<StateWriter> makeStateWriter(Format format, StateColumns columns, Output& output);

}  // namespace vorlandi::cli
