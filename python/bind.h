// Functions that the sources of the Python module share.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include <quellmark/error.h>
#include <quellmark/scene.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace quellmark::python {

namespace py = pybind11;

/// One-dimensional arrays from Python, which quellmark/__init__.py has made contiguous.
template <class T>
using Flat = py::array_t<T, py::array::c_style | py::array::forcecast>;

/// The elements of an array.
template <class T>
[[nodiscard]] std::span<const T> SpanOf(const Flat<T>& array) {
  return {array.data(), static_cast<std::size_t>(array.size())};
}

/// Makes a Python text. BytesOf() returns the same bytes again, even if they are not UTF-8.
[[nodiscard]] py::str TextOf(std::string_view bytes);
/// Returns the bytes of a Python text.
/// @throws error_already_set for an object that is no text
[[nodiscard]] std::string BytesOf(py::handle text);

/// Handles pending Python signals and calls `function`, unless it is None, with the progress.
/// @return false if the call must end; a Python exception may then be set
[[nodiscard]] bool GoesOn(const py::object& function, std::size_t done, std::size_t total);

/// Runs `work(progress)` without the interpreter's lock. An exception of a signal handler or of
/// `function` ends it and is thrown.
template <class Work>
auto Interruptible(const py::object& function, Work&& work) {
  try {
    const py::gil_scoped_release without_lock;
    return work(Progress([&function](std::size_t done, std::size_t total) {
      const py::gil_scoped_acquire with_lock;
      return GoesOn(function, done, total);
    }));
  } catch (const CancelledError&) {
    if (PyErr_Occurred() != nullptr) throw py::error_already_set();
    throw;
  }
}

/// Calls `work(first, count)` for blocks of `total` elements without the interpreter's lock;
/// signals are handled in between.
template <class Work>
void InBlocks(std::size_t total, Work&& work) {
  constexpr std::size_t kBlock = 65536;
  for (std::size_t first = 0; first < total; first += kBlock) {
    {
      const py::gil_scoped_release without_lock;
      work(first, total - first < kBlock ? total - first : kBlock);
    }
    if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  }
}

void BindErrors();
void BindTime(py::module_& module);
void BindOrbit(py::module_& module);
void BindDem(py::module_& module);
void BindScene(py::module_& module);
void BindPool(py::module_& module);

}  // namespace quellmark::python
