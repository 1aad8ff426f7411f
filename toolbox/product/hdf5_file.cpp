#include "toolbox/product/hdf5_file.h"

#include <algorithm>
#include <cmath>

#include "toolbox/product/import.h"

namespace quellmark::product {

namespace {

constexpr hssize_t kMostNumbers = hssize_t{1} << 22;
constexpr std::size_t kLongestText = 1U << 16U;

// Reads a single text with `Read`, which differs for data sets and attributes.
template <typename Read>
bool ReadText(hid_t type, hid_t space, const Read& read, std::string& text) {
  if (H5Tget_class(type) != H5T_STRING || H5Sget_simple_extent_npoints(space) != 1) return false;
  const htri_t is_variable = H5Tis_variable_str(type);
  if (is_variable < 0) return false;
  const Hdf5Handle memory(H5Tcopy(H5T_C_S1), H5Tclose);
  if (is_variable > 0) {
    char* content = nullptr;
    H5Tset_size(memory.Id(), H5T_VARIABLE);
    H5Tset_cset(memory.Id(), H5Tget_cset(type));
    if (read(memory.Id(), static_cast<void*>(&content)) < 0 || content == nullptr) return false;
    text = content;
    H5Dvlen_reclaim(memory.Id(), space, H5P_DEFAULT, static_cast<void*>(&content));
    return true;
  }
  const std::size_t size = H5Tget_size(type);
  if (size == 0 || size > kLongestText) return false;
  std::vector<char> content(size + 1, '\0');
  H5Tset_size(memory.Id(), size + 1);
  H5Tset_cset(memory.Id(), H5Tget_cset(type));
  if (read(memory.Id(), static_cast<void*>(content.data())) < 0) return false;
  text = content.data();
  while (text.ends_with(' ')) text.pop_back();
  return true;
}

}  // namespace

Hdf5File::ErrorPrinting::ErrorPrinting() {
  // At exit the library would complain about what a damaged file has left open.
  H5dont_atexit();
  H5Eget_auto2(H5E_DEFAULT, &function, &data);
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
}

Hdf5File::ErrorPrinting::~ErrorPrinting() { H5Eset_auto2(H5E_DEFAULT, function, data); }

Hdf5File::Hdf5File(const std::filesystem::path& path)
    : name_(path), file_(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), H5Fclose) {
  if (!file_.IsOpen()) throw ImportError(name_, "", "cannot be opened as HDF5");
}

Hdf5File::~Hdf5File() = default;

bool Hdf5File::Has(const std::string& path) const {
  // HDF5 requires a check of every link on the path.
  for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    if (H5Lexists(file_.Id(), path.substr(0, end).c_str(), H5P_DEFAULT) <= 0) return false;
    if (end == std::string::npos) return true;
  }
}

Hdf5Handle Hdf5File::OpenDataSet(const std::string& path) const {
  if (!Has(path)) Fail(path, "is missing");
  return {H5Dopen2(file_.Id(), path.c_str(), H5P_DEFAULT), H5Dclose};
}

Hdf5File::Shape Hdf5File::ShapeOf(const std::string& path) const {
  const Hdf5Handle data = OpenDataSet(path);
  if (!data.IsOpen()) Fail(path, "is no data set");
  const Hdf5Handle space(H5Dget_space(data.Id()), H5Sclose);
  const int rank = H5Sget_simple_extent_ndims(space.Id());
  if (rank < 0) Fail(path, "has no shape");
  Shape shape(static_cast<std::size_t>(rank));
  if (rank > 0 && H5Sget_simple_extent_dims(space.Id(), shape.data(), nullptr) < 0) {
    Fail(path, "has no shape");
  }
  return shape;
}

std::vector<double> Hdf5File::Numbers(const std::string& path) const {
  const Hdf5Handle data = OpenDataSet(path);
  if (!data.IsOpen()) Fail(path, "is no data set");
  const Hdf5Handle space(H5Dget_space(data.Id()), H5Sclose);
  const Hdf5Handle type(H5Dget_type(data.Id()), H5Tclose);
  const H5T_class_t kind = H5Tget_class(type.Id());
  if (kind != H5T_FLOAT && kind != H5T_INTEGER) Fail(path, "holds no numbers");
  const hssize_t count = H5Sget_simple_extent_npoints(space.Id());
  if (count < 1) Fail(path, "is empty");
  if (count > kMostNumbers) Fail(path, "has too many numbers for metadata");
  std::vector<double> numbers(static_cast<std::size_t>(count));
  if (H5Dread(data.Id(), H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers.data()) < 0) {
    Fail(path, "cannot be read");
  }
  if (!std::ranges::all_of(numbers, [](double number) { return std::isfinite(number); })) {
    Fail(path, "has a number that is not finite");
  }
  return numbers;
}

double Hdf5File::Number(const std::string& path) const {
  const std::vector<double> numbers = Numbers(path);
  if (numbers.size() != 1) Fail(path, "has " + std::to_string(numbers.size()) + " numbers, not 1");
  return numbers.front();
}

std::string Hdf5File::Text(const std::string& path) const {
  const Hdf5Handle data = OpenDataSet(path);
  if (!data.IsOpen()) Fail(path, "is no data set");
  const Hdf5Handle space(H5Dget_space(data.Id()), H5Sclose);
  const Hdf5Handle type(H5Dget_type(data.Id()), H5Tclose);
  const auto read = [&](hid_t memory, void* content) {
    return H5Dread(data.Id(), memory, H5S_ALL, H5S_ALL, H5P_DEFAULT, content);
  };
  std::string text;
  if (!ReadText(type.Id(), space.Id(), read, text)) Fail(path, "is no text");
  return text;
}

std::string Hdf5File::TextOfAttribute(const std::string& path, const char* name) const {
  const std::string field = path + '@' + name;
  const Hdf5Handle data = OpenDataSet(path);
  if (!data.IsOpen()) Fail(path, "is no data set");
  if (H5Aexists(data.Id(), name) <= 0) Fail(field, "is missing");
  const Hdf5Handle attribute(H5Aopen(data.Id(), name, H5P_DEFAULT), H5Aclose);
  const Hdf5Handle space(H5Aget_space(attribute.Id()), H5Sclose);
  const Hdf5Handle type(H5Aget_type(attribute.Id()), H5Tclose);
  const auto read = [&](hid_t memory, void* content) {
    return H5Aread(attribute.Id(), memory, content);
  };
  std::string text;
  if (!ReadText(type.Id(), space.Id(), read, text)) Fail(field, "is no text");
  return text;
}

void Hdf5File::Fail(const std::string& path, const std::string& problem) const {
  throw ImportError(name_, path, problem);
}

}  // namespace quellmark::product
