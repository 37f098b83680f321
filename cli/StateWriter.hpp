// Writes states in one of the output formats. It keeps none of them, so there may be any number.
#pragma once

#include <cstdint>
#include <memory>

#include "Library.hpp"
#include "Options.hpp"
#include "Output.hpp"

namespace vorlandi::cli {

class StateWriter {
public:
    virtual ~StateWriter() = default;

    // The states of a satellite come between its begin and its end; satellites don't overlap.
    virtual void beginSatellite(const Satellite& satellite) = 0;
    void state(const State& state) {
        ++count_;
        write(state);
    }
    virtual void endSatellite() {}
    virtual void finish() {}

    // The number of states so far.
    std::int64_t count() const { return count_; }

private:
    virtual void write(const State& state) = 0;

    std::int64_t count_ = 0;
};

std::unique_ptr<StateWriter> makeStateWriter(Format format, WithCovariance withCovariance, Output& output);

}  // namespace vorlandi::cli
