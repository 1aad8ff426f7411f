// What the parts of the Python module share.
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

/// One-dimensional arrays that Python hands over; quellmark/__init__.py has made them contiguous.
template <class T>
using Flat = py::array_t<T, py::array::c_style | py::array::forcecast>;

/// The elements of an array.
template <class T>
[[nodiscard]] std::span<const T> SpanOf(const Flat<T>& array) {
  return {array.data(), static_cast<std::size_t>(array.size())};
}

/// A Python text; bytes that are not UTF-8 come back unharmed from BytesOf().
[[nodiscard]] py::str TextOf(std::string_view bytes);
/// The bytes of a Python text.
/// @throws error_already_set for what is no text
[[nodiscard]] std::string BytesOf(py::handle text);

/// Asks Python for signals and tells `function`, unless it is None, how much is done.
/// @return false when the call is to end; a Python exception may be set then
[[nodiscard]] bool GoesOn(const py::object& function, std::size_t done, std::size_t total);

/// Runs `work(progress)` without the interpreter's lock. What a signal handler or `function` raises
/// ends it and is thrown.
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
/// signals are looked at in between.
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
