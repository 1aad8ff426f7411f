// Binds parameter pools. A value is passed as one flat array or list of its numbers or texts, with
// indices, origin and shape; quellmark/_pool.py makes Python values of these.
#include <algorithm>
#include <array>
#include <complex>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "python/bind.h"
#include <quellmark/pool.h>

namespace quellmark::python {
namespace {

// Converts numbers and texts to Python.
template <class T>
py::object ColumnOf(const std::vector<T>& values) {
  if constexpr (std::is_same_v<T, std::string>) {
    py::list texts;
    for (const std::string& value : values) texts.append(TextOf(value));
    return texts;
  } else {
    py::array_t<T> array(static_cast<py::ssize_t>(values.size()));
    std::copy(values.begin(), values.end(), array.mutable_data());
    return array;
  }
}

// Converts numbers and texts from Python.
template <class T>
std::vector<T> ValuesOf(const py::object& column) {
  std::vector<T> values;
  if constexpr (std::is_same_v<T, std::string>) {
    for (const py::handle text : column) values.push_back(BytesOf(text));
  } else {
    const auto array = column.cast<Flat<T>>();
    values.assign(array.data(), array.data() + array.size());
  }
  return values;
}

struct Columns {
  py::object data;
  py::object indices = py::none();
};

// The layout of elements of the type T in columns.
template <class T>
struct Element {
  static Columns Split(const std::vector<T>& elements) { return {ColumnOf(elements)}; }
  static std::vector<T> Join(const Columns& columns) { return ValuesOf<T>(columns.data); }
};

template <class T>
struct Element<Pair<T>> {
  static Columns Split(const std::vector<Pair<T>>& elements) {
    std::vector<T> values;
    for (const Pair<T>& element : elements) {
      values.push_back(element.first);
      values.push_back(element.second);
    }
    return {ColumnOf(values)};
  }
  static std::vector<Pair<T>> Join(const Columns& columns) {
    const std::vector<T> values = ValuesOf<T>(columns.data);
    std::vector<Pair<T>> elements(values.size() / 2);
    for (std::size_t i = 0; i < elements.size(); ++i) {
      elements[i] = {values[2 * i], values[2 * i + 1]};
    }
    return elements;
  }
};

template <class T>
struct Element<Indexed<T>> {
  static Columns Split(const std::vector<Indexed<T>>& elements) {
    std::vector<std::int32_t> indices;
    std::vector<T> values;
    for (const Indexed<T>& element : elements) {
      indices.push_back(element.index);
      values.push_back(element.value);
    }
    return {ColumnOf(values), ColumnOf(indices)};
  }
  static std::vector<Indexed<T>> Join(const Columns& columns) {
    const auto indices = ValuesOf<std::int32_t>(columns.indices);
    const auto values = ValuesOf<T>(columns.data);
    if (indices.size() != values.size()) throw py::value_error("indices and values differ");
    std::vector<Indexed<T>> elements(values.size());
    for (std::size_t i = 0; i < elements.size(); ++i) elements[i] = {indices[i], values[i]};
    return elements;
  }
};

using Integers = std::vector<std::int32_t>;

// The layout of a value of the type T: one element, or a vector or matrix of elements.
template <class T>
struct Layout {
  static py::tuple Split(const T& value) {
    const Columns columns = Element<T>::Split({value});
    return py::make_tuple(columns.data, columns.indices, py::tuple(), py::tuple());
  }
  static Value Join(const Columns& columns, const Integers&, const Integers&) {
    std::vector<T> elements = Element<T>::Join(columns);
    if (elements.size() != 1) throw py::value_error("one value is needed");
    return Value(std::in_place_type<T>, std::move(elements.front()));
  }
};

template <>
struct Layout<std::monostate> {
  static py::tuple Split(std::monostate) { throw py::value_error("the entry has no known type"); }
  static Value Join(const Columns&, const Integers&, const Integers&) {
    throw py::value_error("no such type");
  }
};

template <class T>
struct Layout<Vector<T>> {
  static py::tuple Split(const Vector<T>& value) {
    const Columns columns = Element<T>::Split(value.values);
    return py::make_tuple(columns.data, columns.indices, py::make_tuple(value.first_index),
                          py::make_tuple(value.values.size()));
  }
  static Value Join(const Columns& columns, const Integers& origin, const Integers&) {
    return Vector<T>{origin.at(0), Element<T>::Join(columns)};
  }
};

template <class T>
struct Layout<Matrix<T>> {
  static py::tuple Split(const Matrix<T>& value) {
    const Columns columns = Element<T>::Split(value.values);
    return py::make_tuple(columns.data, columns.indices,
                          py::make_tuple(value.first_row, value.first_column),
                          py::make_tuple(value.rows, value.columns));
  }
  static Value Join(const Columns& columns, const Integers& origin, const Integers& shape) {
    return Matrix<T>{origin.at(0), shape.at(0), origin.at(1), shape.at(1),
                     Element<T>::Join(columns)};
  }
};

using Join = Value (*)(const Columns&, const Integers&, const Integers&);

// One function for each type, in the order of the type numbers.
constexpr auto kJoins = []<class... Ts>(std::type_identity<std::variant<Ts...>>) {
  return std::array<Join, sizeof...(Ts)>{&Layout<Ts>::Join...};
}(std::type_identity<Value>());

py::tuple SplitValue(const Value& value) {
  return std::visit(
      [](const auto& held) { return Layout<std::decay_t<decltype(held)>>::Split(held); }, value);
}

Integers IntegersOf(const py::tuple& numbers) {
  Integers integers;
  for (const py::handle number : numbers) integers.push_back(number.cast<std::int32_t>());
  return integers;
}

std::vector<std::string> TextsOf(const py::list& list) {
  std::vector<std::string> texts;
  for (const py::handle text : list) texts.push_back(BytesOf(text));
  return texts;
}

void Set(PoolEditor& editor, const py::str& key, const std::string& type_name,
         const py::object& data, const py::object& indices, const py::tuple& origin,
         const py::tuple& shape, const py::list& comments) {
  const Join join = kJoins.at(static_cast<std::size_t>(TypeFromName(type_name)));
  editor.Set(BytesOf(key), join({data, indices}, IntegersOf(origin), IntegersOf(shape)),
             TextsOf(comments));
}

const Entry& EntryOf(const Pool& pool, const py::str& key) {
  const std::string bytes = BytesOf(key);
  if (const Entry* entry = pool.Find(bytes)) return *entry;
  static_cast<void>(pool.Get(bytes));  // throws with the right message
  throw py::key_error(bytes);
}

py::tuple DescribeEntry(const Pool& pool, const py::str& key) {
  const Entry& entry = EntryOf(pool, key);
  py::list comments;
  for (const std::string& comment : pool.CommentsOf(entry)) comments.append(TextOf(comment));
  const std::string_view type_name =
      entry.type == ValueType::kUnknown ? entry.type_name : NameOf(entry.type);
  return py::make_tuple(TextOf(type_name), entry.line, comments);
}

py::list KeysOf(const Pool& pool) {
  py::list keys;
  for (const Entry& entry : pool.Entries()) {
    if (!entry.is_repeated) keys.append(TextOf(entry.key));
  }
  return keys;
}

}  // namespace

void BindPool(py::module_& module) {
  py::class_<Pool>(module, "Pool")
      .def(py::init<>())
      .def_static("open", &Pool::Open, py::call_guard<py::gil_scoped_release>())
      .def_static("from_text",
                  [](const py::bytes& text, const std::string& name) {
                    return Pool::FromText(std::string(text), name);
                  })
      .def("path", [](const Pool& pool) { return TextOf(pool.Path()); })
      .def("text",
           [](const Pool& pool) { return py::bytes(pool.Text().data(), pool.Text().size()); })
      .def("keys", &KeysOf)
      .def("has", [](const Pool& pool, const py::str& key) { return pool.Has(BytesOf(key)); })
      .def("describe", &DescribeEntry)
      .def("get",
           [](const Pool& pool, const py::str& key) { return SplitValue(pool.Get(BytesOf(key))); });
  py::class_<PoolEditor>(module, "PoolEditor")
      .def(py::init<>())
      .def("set", &Set)
      .def("update", &PoolEditor::Update, py::call_guard<py::gil_scoped_release>())
      .def("write", &PoolEditor::Write, py::call_guard<py::gil_scoped_release>())
      .def("text", [](const PoolEditor& editor) { return py::bytes(editor.Text()); });
}

}  // namespace quellmark::python
