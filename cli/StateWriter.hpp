// States in one of the output formats, written as they come: nothing is kept, so that there may be any number.
#pragma once

#include <cstdint>
#include <memory>

#include "Options.hpp"
#include "Output.hpp"
#include "Store.hpp"

namespace vorlandi::cli {

class StateWriter {
public:
    virtual ~StateWriter() = default;

    // Satellites come one after the other, the states of each between its begin and its end.
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

std::unique_ptr<StateWriter> makeStateWriter(Format format, Covariance covariance, Output& output);

}  // namespace vorlandi::cli
