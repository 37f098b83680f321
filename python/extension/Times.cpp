// Times: texts, and the scale TAI.
#include <pybind11/stl.h>

#include <string>
#include <vector>

#include "Support.hpp"

namespace vorlandi::python {
namespace {

Doubles parseAll(const std::vector<std::string>& texts) {
    auto times = newArray<double>({texts.size()});
    double* time = times.mutable_data();
    for (const std::string& text : texts)
        *time++ = parse(text).days;
    return times;
}

// Empty for times without a date.
std::vector<std::string> isoTexts(const Doubles& times) {
    std::vector<std::string> texts;
    for (py::ssize_t i = 0; i < times.size(); ++i)
        texts.push_back(try_iso({times.data()[i]}).value_or(""));
    return texts;
}

}  // namespace

void addTimes(py::module_& module) {
    module.def("parse", [](const std::string& text) { return parse(text).days; });
    module.def("parse_all", &parseAll);
    module.def("iso_texts", &isoTexts, py::arg("times").noconvert());
    module.def("utc_to_tai", py::vectorize(VorlanTimeUtcToTai));
    module.def("tai_to_utc", py::vectorize(VorlanTimeTaiToUtc));
    module.def("load_leap_seconds", [](const std::string& file) { return VorlanTimeLoadLeapSeconds(file.c_str()); });
    module.def("last_error", [] { return textOf(last_error()); });
}

}  // namespace vorlandi::python
