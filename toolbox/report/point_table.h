// Writes located points and outlines as CSV, JSON, GeoJSON and KML.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "toolbox/report/footprint.h"
#include <quellmark/scene.h>

namespace quellmark::report {

enum class PointFormat { kCsv, kJson, kGeoJson, kKml };

/// Returns the format for csv, json, geojson or kml. Throws std::runtime_error for other names.
[[nodiscard]] PointFormat PointFormatFromName(std::string_view name);

/// One column of numbers; NaN stands for "no answer".
struct Column {
  std::string name;
  int decimals = 9;
  std::vector<double> values;
};

/// Points with their places on the map (if any), numbers and states.
struct PointTable {
  std::vector<Column> columns;
  std::vector<PointStatus> status;
  std::size_t longitude_column = 0;  ///< of the place, for GeoJSON and KML
  std::size_t latitude_column = 1;
};

/// Returns a number with this many decimals; never "-0".
[[nodiscard]] std::string FixedText(double value, int decimals);

/// Returns a text for XML and HTML, with their special characters escaped.
[[nodiscard]] std::string XmlText(std::string_view text);

[[nodiscard]] std::string TextOf(const PointTable& table, PointFormat format);

/// Returns the outline of the scene `name` as polygons; CSV and JSON list the points of the
/// outline.
[[nodiscard]] std::string FootprintText(const std::string& name, const std::vector<LonLat>& outline,
                                        PointFormat format);

}  // namespace quellmark::report
