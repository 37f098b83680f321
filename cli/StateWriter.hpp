// Writes states in one of the output formats. It keeps none of them, so there may be any number.
#pragma once

#include <cstdint>
#include <memory>

#include "Options.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"

namespace vorlandi::cli {

enum class WithCovariance { No, Yes };

class StateWriter {
public:
    virtual ~StateWriter() = default;

    // The states of a satellite come between its begin and its end; satellites don't overlap.
    virtual void beginSatellite(const SatelliteRecord& satellite) = 0;
    void state(const Point& point) {
        ++count_;
        write(point);
    }
    virtual void endSatellite() {}
    virtual void finish() {}

    // The number of states so far.
    std::int64_t count() const { return count_; }

private:
    virtual void write(const Point& point) = 0;

    std::int64_t count_ = 0;
};

std::unique_ptr<StateWriter> makeStateWriter(Format format, WithCovariance withCovariance, Output& output);

}  // namespace vorlandi::cli
