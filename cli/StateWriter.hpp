// States in one of the output formats, written as they come: nothing is kept, so that there may be any
// number.
#pragma once

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
    virtual void state(const State& state) = 0;
    virtual void endSatellite() {}
    virtual void finish() {}
};

std::unique_ptr<StateWriter> makeStateWriter(Format format, Covariance covariance, Output& output);

}  // namespace vorlandi::cli
