// The module quellmark._core: the calls of the C++ library on flat arrays. The Python package
// around it handles shapes.
#include <string>

#include "python/bind.h"
#include <quellmark/time.h>
#include <quellmark/version.h>

namespace quellmark::python {

py::str TextOf(std::string_view bytes) {
  PyObject* text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

std::string BytesOf(py::handle text) {
  PyObject* bytes = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape");
  if (bytes == nullptr) throw py::error_already_set();
  return std::string(py::reinterpret_steal<py::bytes>(bytes));
}

bool GoesOn(const py::object& function, std::size_t done, std::size_t total) {
  if (PyErr_CheckSignals() != 0) return false;
  if (function.is_none()) return true;
  try {
    return !function(done, total).is(py::handle(Py_False));
  } catch (py::error_already_set& error) {
    error.restore();
    return false;
  }
}

namespace {

// The name of the class in quellmark/_errors.py.
const char* PythonNameOf(const Error& error) {
  if (error.Class() == ErrorClass::kPoolKeyNotFound) return "KeyNotFoundError";
  if (dynamic_cast<const ArgumentError*>(&error) != nullptr) return "ArgumentError";
  if (dynamic_cast<const PoolError*>(&error) != nullptr) return "PoolError";
  if (dynamic_cast<const OrbitError*>(&error) != nullptr) return "OrbitError";
  if (dynamic_cast<const DemError*>(&error) != nullptr) return "DemError";
  if (dynamic_cast<const SceneError*>(&error) != nullptr) return "SceneError";
  if (dynamic_cast<const CancelledError*>(&error) != nullptr) return "CancelledError";
  return "Error";
}

void Raise(const Error& error) {
  const py::object type = py::module_::import("quellmark._errors").attr(PythonNameOf(error));
  py::list lines;
  for (const std::string& line : error.LogLines()) lines.append(TextOf(line));
  const py::object exception = type(TextOf(error.what()), TextOf(error.File()), TextOf(error.Key()),
                                    error.Line(), lines, TextOf(MessageOf(error.Class())));
  PyErr_SetObject(type.ptr(), exception.ptr());
}

}  // namespace

void BindErrors() {
  // pybind11 requires this signature.
  // NOLINTNEXTLINE(performance-unnecessary-value-param)
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const Error& error) {
      Raise(error);
    }
  });
}

void BindTime(py::module_& module) {
  module.def("seconds_from_utc", [](const py::str& text) { return SecondsFromUtc(BytesOf(text)); });
  module.def("utc_from_seconds", [](double seconds) { return TextOf(UtcFromSeconds(seconds)); });
}

}  // namespace quellmark::python

PYBIND11_MODULE(_core, module) {
  using namespace quellmark::python;
  module.attr("version") = TextOf(quellmark::LibraryVersion());
  BindErrors();
  BindTime(module);
  BindOrbit(module);
  BindDem(module);
  BindScene(module);
  BindPool(module);
}
