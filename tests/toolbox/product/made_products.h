// Makes product files in the missions' layouts from the example scenes.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "toolbox/product/import.h"

namespace quellmark::product {

using Fields = std::map<std::string, std::string>;

/// The contents for the templates.
struct MadeScene {
  Fields values;  // by key: those of the scene's pool and those that missions use instead
  std::vector<Fields> vectors;  // time, px .. vz
  std::vector<Fields> points;   // columns of the truth table
};

enum class Level : std::uint8_t { kSlantRange, kGroundRange };

/// Returns the example scene as a product of `level` describes it. If `is_reversed`, lines and
/// samples begin with the latest and the farthest.
[[nodiscard]] MadeScene MakeScene(const std::string& example, Level level,
                                  bool is_reversed = false);

/// `time` with 12 digits after the point.
[[nodiscard]] std::string LongText(const UtcTime& time);

/// Returns data/NAME.xml with the scene's values in place of "{key}". The text between "{each
/// vector}" or "{each point}" and "{end}" is repeated.
[[nodiscard]] std::string Filled(const std::string& name, const MadeScene& scene);

/// A folder with the files of a product.
class ProductFolder {
 public:
  explicit ProductFolder(const Fields& files);
  [[nodiscard]] std::string Path(const std::string& name = "") const { return directory_ / name; }

 private:
  test::TempDir directory_;
};

/// The files of a product by the name of its row: "sentinel1 slc", "sentinel1 grd", "terrasar",
/// "terrasar eec", "rcm slc", "rcm grd", "rcm grd reversed", "radarsat2 slc", "radarsat2 grd",
/// "iceye slc", "iceye grd".
[[nodiscard]] Fields MakeProduct(const std::string& kind);
[[nodiscard]] const std::vector<std::string>& ProductKinds();
/// The example scene that the product is made from.
[[nodiscard]] std::string ExampleOf(const std::string& kind);
[[nodiscard]] std::string ExamplePool(const std::string& example);

/// The message of ImportProduct about `path`, or "" if it succeeds.
[[nodiscard]] std::string Failure(const std::string& path, const ImportOptions& options = {});

}  // namespace quellmark::product
