// Writes satellites in other formats, as the tool does.
#include "Conversion.hpp"

#include <pybind11/stl.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "ConsoleCapture.hpp"
#include "Options.hpp"
#include "Support.hpp"

namespace vorlandi::python {
namespace {

using namespace py::literals;

py::list targets() {
    py::list all;
    for (const writers::Target& target : writers::targets()) {
        py::list frames;
        for (const writers::FrameName& frame : target.frames)
            frames.append(writers::nameOf(frame.frame));
        all.append(py::dict("name"_a = std::string(target.name), "suffix"_a = std::string(target.suffix),
                            "frames"_a = py::tuple(frames), "several"_a = target.holdsSeveral,
                            "largest_number"_a = target.largestNumber,
                            "exact_times"_a = target.times != writers::TimesKept::ToTheMillisecond,
                            "covariances"_a = target.covariances != writers::CovariancesKept::No));
    }
    return all;
}

// The options of a call without an argument of their own.
writers::Options optionsOf(const py::dict& given) {
    writers::Options options;
    const std::pair<const char*, std::string*> texts[] = {{"frame_label", &options.universalFrame},
                                                          {"oem_version", &options.oemVersion},
                                                          {"originator", &options.originator},
                                                          {"object_name", &options.objectName},
                                                          {"object_id", &options.objectId},
                                                          {"ref_frame", &options.refFrame},
                                                          {"created", &options.created}};
    for (const auto& [name, text] : texts)
        if (given.contains(name)) *text = given[name].cast<std::string>();
    if (given.contains("useable")) options.useable = given["useable"].cast<bool>();
    options.source = "others, converted by " + version();
    return options;
}

// Key, file (empty: the one in the store) and number within it.
using Named = std::tuple<std::int64_t, std::string, std::int32_t>;

std::vector<cli::NumberedSatellite> recordsOf(const std::vector<Named>& satellites) {
    std::vector<cli::NumberedSatellite> records;
    for (const auto& [key, file, record] : satellites) {
        if (!Satellite(key).try_fields()) fail(key);
        records.push_back({cli::recordOf(Satellite(key)), record});
        if (!file.empty()) records.back().satellite.file = file;
    }
    return records;
}

// Whether all were written, and the messages: whether each is an error, and its text.
py::tuple convert(const std::vector<Named>& satellites, const std::string& into, const std::string& file,
                  const std::string& directory, std::optional<double> first, std::optional<double> last,
                  std::optional<double> step_s, double tolerance_m, bool withCovariances, bool roundTimes, bool force,
                  const py::dict& given) {
    cli::ConversionRequest request;
    request.target = writers::findTarget(into);
    request.options = optionsOf(given);
    request.extraction.range.from = first;
    request.extraction.range.to = last;
    request.extraction.step_s = step_s;
    request.extraction.tolerance_m = tolerance_m;
    request.extraction.withCovariances =
        withCovariances || request.target->covariances == writers::CovariancesKept::Yes;
    request.output = file;
    request.directory = directory;
    request.force = force;
    request.roundTimes = roundTimes;
    const std::vector<cli::NumberedSatellite> records = recordsOf(satellites);
    cli::ConsoleCapture capture;
    cli::Console console;
    bool allWritten = false;
    {
        const py::gil_scoped_release release;
        allWritten = cli::convert(request, records, console);
    }
    py::list messages;
    for (const auto& [isError, text] : capture.messages())
        messages.append(py::make_tuple(isError, textOf(text)));
    return py::make_tuple(allWritten, messages);
}

}  // namespace

void addConversion(py::module_& module) {
    module.def("targets", &targets);
    module.def("convert", &convert);
}

}  // namespace vorlandi::python
