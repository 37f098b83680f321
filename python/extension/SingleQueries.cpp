// A state, or a state with covariance, at one time. They are called millions of times: no dispatch, no conversions.
#define NPY_NO_DEPRECATED_API NPY_1_7_API_VERSION
#include <numpy/arrayobject.h>

#include "Support.hpp"

namespace vorlandi::python {
namespace {

struct Request {
    std::int64_t key = 0;
    double time = 0.0;
};

// False with an exception set.
bool read(PyObject* const* arguments, Py_ssize_t count, Request& request) {
    if (count != 2) {
        PyErr_SetString(PyExc_TypeError, "a key and a time are wanted");
        return false;
    }
    request.key = PyLong_AsLongLong(arguments[0]);
    request.time = PyFloat_AsDouble(arguments[1]);
    return PyErr_Occurred() == nullptr;
}

PyObject* newDoubles(int dimensions) {
    npy_intp shape[] = {6, 6};
    return PyArray_SimpleNew(dimensions, shape, NPY_DOUBLE);
}

double* dataOf(PyObject* array) { return static_cast<double*>(PyArray_DATA(reinterpret_cast<PyArrayObject*>(array))); }

PyObject* state(PyObject* /*module*/, PyObject* const* arguments, Py_ssize_t count) {
    Request request;
    if (!read(arguments, count, request)) return nullptr;
    PyObject* const array = newDoubles(1);
    if (array == nullptr) return nullptr;
    double* const values = dataOf(array);
    if (VorlanDs50UTC(request.key, request.time, nullptr, values, values + 3, nullptr) == 0) return array;
    Py_DECREF(array);
    setFailure(request.key, request.time);
    return nullptr;
}

PyObject* stateAndCovariance(PyObject* /*module*/, PyObject* const* arguments, Py_ssize_t count) {
    Request request;
    if (!read(arguments, count, request)) return nullptr;
    auto array = py::reinterpret_steal<py::object>(newDoubles(1));
    auto matrix = py::reinterpret_steal<py::object>(newDoubles(2));
    if (!array || !matrix) return nullptr;
    double* const values = dataOf(array.ptr());
    auto* const elements = reinterpret_cast<double(*)[6]>(dataOf(matrix.ptr()));
    if (VorlanDs50UTCCovMtx(request.key, request.time, nullptr, values, values + 3, nullptr, elements) == 0)
        return PyTuple_Pack(2, array.ptr(), matrix.ptr());
    setFailure(request.key, request.time);
    return nullptr;
}

template <PyObject* (*Function)(PyObject*, PyObject* const*, Py_ssize_t)>
PyCFunction asMethod() {
    return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(Function));
}

}  // namespace

void addSingleQueries(py::module_& module) {
    if (_import_array() < 0) throw py::error_already_set();
    static PyMethodDef methods[] = {{"state", asMethod<state>(), METH_FASTCALL, nullptr},
                                    {"state_and_covariance", asMethod<stateAndCovariance>(), METH_FASTCALL, nullptr},
                                    {nullptr, nullptr, 0, nullptr}};
    if (PyModule_AddFunctions(module.ptr(), methods) < 0) throw py::error_already_set();
}

}  // namespace vorlandi::python
