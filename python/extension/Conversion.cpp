// Writes satellites in other formats, as the tool does.
#include "Conversion.hpp"

#include <fmt/format.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "ConsoleCapture.hpp"
#include "Options.hpp"
#include "Support.hpp"
#include "TimeGrid.hpp"
#include "writers/FormatOptions.hpp"

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

// Sets the option of a single format that has this name.
void set(writers::Options& options, const std::string& name, const py::handle& value, const writers::Target& target) {
    std::string hyphenated = name;
    std::ranges::replace(hyphenated, '_', '-');
    const auto all = writers::formatOptions();
    const auto option = std::ranges::find(all, hyphenated, &writers::FormatOption::name);
    if (option == all.end() || option->target != target.name)
        throw py::type_error(fmt::format("{} is not an option of {}", name, target.name));
    if (option->text == nullptr) {
        if (!py::isinstance<py::bool_>(value)) throw py::type_error(name + " must be True or False");
        options.*option->flag = value.cast<bool>();
        return;
    }
    if (!py::isinstance<py::str>(value)) throw py::type_error(name + " must be a text");
    const auto text = value.cast<std::string>();
    if (const std::string problem = writers::problemOf(*option, text); !problem.empty())
        throw py::value_error(fmt::format("{} {}", name, problem));
    options.*option->text = text;
}

writers::Options optionsOf(const py::dict& given, const writers::Target& target, const std::string& created) {
    writers::Options options;
    for (const auto& [name, value] : given)
        set(options, name.cast<std::string>(), value, target);
    options.created = created;
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
                  const std::string& created, const py::dict& given) {
    cli::ConversionRequest request;
    request.target = writers::findTarget(into);
    request.options = optionsOf(given, *request.target, created);
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
    request.names = {"force=True", "round_times=True", "covariances=True"};
    const std::vector<cli::NumberedSatellite> records = recordsOf(satellites);
    requireTimesInMemory(cli::mostTimes(request, records));
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
