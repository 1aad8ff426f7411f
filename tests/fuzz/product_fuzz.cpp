// Takes any bytes as a product's file, and as the orbit file beside a sound product. They must be
// refused, or make a scene whose pool can be written. HDF5 is left out, because there the bytes
// would only test its library.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <string>

#include "tests/fuzz/fuzz.h"
#include "tests/support/files.h"
#include "toolbox/product/import.h"

namespace {

using quellmark::product::ImportError;
using quellmark::product::ImportProduct;
using quellmark::test::Check;

void CheckImport(const std::string& path, bool is_smoothed) {
  quellmark::product::ImportOptions options;
  options.smooth_orbit = is_smoothed;
  try {
    const auto imported = ImportProduct(path, options);
    std::ostringstream pool;
    WritePool(imported.scene, pool);
    Check(!imported.scene.orbit.value.empty() && imported.scene.n_lines.value > 0);
  } catch (const ImportError& error) {
    Check(std::string_view(error.what()).find(": ") != std::string_view::npos);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = quellmark::test::TextOf(data, size);
  if (text.starts_with("\x89HDF")) return 0;
  static const quellmark::test::TempDir directory;
  const std::string path = directory / "product.xml";
  quellmark::test::WriteFile(path, text);
  CheckImport(path, size % 2 == 0);
  return 0;
}
