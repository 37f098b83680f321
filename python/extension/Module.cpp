// The module vorlandi._vorlandi: numbers and arrays in and out. The package does everything else.
#include "Run.hpp"
#include "Support.hpp"

#include <fmt/format.h>
#include <pybind11/stl.h>

#include "TimeGrid.hpp"
#include "cli/OutputError.hpp"

namespace vorlandi::python {
namespace {

py::object packageFailure(const std::string& message, std::int64_t key, double ds50UTC) {
    return py::module_::import("vorlandi._errors").attr("failure")(textOf(message), key, ds50UTC);
}

void set(const py::object& exception) {
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
}

// Turns exceptions of the C++ libraries into the package's.
void translate(std::exception_ptr thrown) {  // NOLINT(performance-unnecessary-value-param): pybind11 wants it so
    try {
        if (thrown) std::rethrow_exception(thrown);
    } catch (const Error& error) {
        set(packageFailure(error.what(), 0, 0.0));
    } catch (const cli::OutputError& error) {
        const py::object type = py::reinterpret_borrow<py::object>(PyExc_OSError);
        set(type(error.name() + ": " + error.what()));
    }
}

int runTool(const std::vector<std::string>& arguments) {
    std::vector<const char*> texts;
    texts.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
        texts.push_back(argument.c_str());
    texts.push_back(nullptr);
    const py::gil_scoped_release release;
    return cli::run(static_cast<int>(arguments.size()), texts.data());
}

}  // namespace

void setFailure(std::int64_t key, double ds50UTC) noexcept {
    try {
        set(packageFailure(last_error(), key, ds50UTC));
    } catch (py::error_already_set& error) {
        error.restore();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    }
}

void fail(std::int64_t key, double ds50UTC) {
    setFailure(key, ds50UTC);
    throw py::error_already_set();
}

void requireTimesInMemory(double times) {
    if (times > cli::kMostTimes)
        throw py::value_error(fmt::format("step_s gives {:.0f} times, more than the {:.0f} that are kept in memory",
                                          times, cli::kMostTimes));
}

PYBIND11_MODULE(_vorlandi, module) {
    detail::prepare();
    py::register_exception_translator(translate);
    addSingleQueries(module);
    addQueries(module);
    addRecords(module);
    addLoading(module);
    addTimes(module);
    addAnalysis(module);
    addConversion(module);
    addSieve(module);
    module.def("version", &version);
    module.def("run", &runTool);
}

}  // namespace vorlandi::python
