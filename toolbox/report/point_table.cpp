#include "toolbox/report/point_table.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "toolbox/report/pool_json.h"

#include <nlohmann/json.hpp>

namespace quellmark::report {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kKmlHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<kml xmlns=\"http://www.opengis.net/kml/2.2\">\n<Document>\n";
constexpr std::string_view kKmlEnd = "</Document>\n</kml>\n";

// Returns the number with exactly these decimals for JSON, or null for NaN.
std::string JsonNumber(double value, int decimals) {
  return std::isfinite(value) ? FixedText(value, decimals) : "null";
}

std::string JsonText(std::string_view text) { return JsonOfText(text).dump(); }

std::string Csv(const PointTable& table) {
  std::string text;
  for (const Column& column : table.columns) text += column.name + ',';
  text += "status\n";
  for (std::size_t i = 0; i < table.status.size(); ++i) {
    for (const Column& column : table.columns) {
      if (!std::isnan(column.values[i])) text += FixedText(column.values[i], column.decimals);
      text += ',';
    }
    text += TextOf(table.status[i]);
    text += '\n';
  }
  return text;
}

// Returns "name": number, ... for one point.
std::string Members(const PointTable& table, std::size_t point) {
  std::string text;
  for (const Column& column : table.columns) {
    text += JsonText(column.name) + ": " + JsonNumber(column.values[point], column.decimals) + ", ";
  }
  return text + "\"status\": " + JsonText(TextOf(table.status[point]));
}

std::string PlaceText(const PointTable& table, std::size_t point, const char* separator) {
  const Column& longitude = table.columns[table.longitude_column];
  const Column& latitude = table.columns[table.latitude_column];
  if (std::isnan(longitude.values[point])) return "";
  return FixedText(longitude.values[point], longitude.decimals) + separator +
         FixedText(latitude.values[point], latitude.decimals);
}

std::string JsonList(const PointTable& table, PointFormat format) {
  std::string text =
      format == PointFormat::kGeoJson ? "{\"type\": \"FeatureCollection\", \"features\": [" : "[";
  for (std::size_t i = 0; i < table.status.size(); ++i) {
    text += i == 0 ? "\n" : ",\n";
    if (format == PointFormat::kJson) {
      text += '{' + Members(table, i) + '}';
      continue;
    }
    const std::string place = PlaceText(table, i, ", ");
    text += "{\"type\": \"Feature\", \"geometry\": " +
            (place.empty() ? std::string("null")
                           : "{\"type\": \"Point\", \"coordinates\": [" + place + "]}") +
            ", \"properties\": {" + Members(table, i) + "}}";
  }
  return text + (format == PointFormat::kGeoJson ? "\n]}\n" : "\n]\n");
}

std::string KmlPoints(const PointTable& table) {
  std::string text(kKmlHead);
  for (std::size_t i = 0; i < table.status.size(); ++i) {
    const std::string place = PlaceText(table, i, ",");
    if (place.empty()) continue;  // KML has no points without a place
    text += "<Placemark><ExtendedData>";
    for (const Column& column : table.columns) {
      text += "<Data name=\"" + XmlText(column.name) + "\"><value>" +
              FixedText(column.values[i], column.decimals) + "</value></Data>";
    }
    text += "</ExtendedData><Point><coordinates>" + place + "</coordinates></Point></Placemark>\n";
  }
  return text + std::string(kKmlEnd);
}

std::string RingText(const Ring& ring, const char* before, const char* between, const char* after,
                     const char* separator) {
  std::string text;
  for (const LonLat& point : ring) {
    text += (text.empty() ? "" : separator) + std::string(before) +
            FixedText(point.longitude_deg, 9) + between + FixedText(point.latitude_deg, 9) + after;
  }
  return text;
}

std::string FootprintGeoJson(const std::string& name, const std::vector<Ring>& polygons) {
  const bool is_one = polygons.size() == 1;
  std::string rings;
  for (const Ring& ring : polygons) {
    rings += (rings.empty() ? "[[" : ", [[") + RingText(ring, "[", ", ", "]", ", ") + "]]";
  }
  return std::string("{\"type\": \"FeatureCollection\", \"features\": [\n") +
         "{\"type\": \"Feature\", \"geometry\": {\"type\": \"" +
         (is_one ? "Polygon" : "MultiPolygon") +
         "\", \"coordinates\": " + (is_one ? rings : '[' + rings + ']') +
         "}, \"properties\": {\"name\": " + JsonText(name) + "}}\n]}\n";
}

std::string FootprintKml(const std::string& name, const std::vector<Ring>& polygons) {
  std::string text =
      std::string(kKmlHead) + "<Placemark><name>" + XmlText(name) + "</name><MultiGeometry>\n";
  for (const Ring& ring : polygons) {
    text += "<Polygon><outerBoundaryIs><LinearRing><coordinates>" +
            RingText(ring, "", ",", "", " ") +
            "</coordinates></LinearRing></outerBoundaryIs></Polygon>\n";
  }
  return text + "</MultiGeometry></Placemark>\n" + std::string(kKmlEnd);
}

}  // namespace

std::string XmlText(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return escaped;
}

PointFormat PointFormatFromName(std::string_view name) {
  constexpr std::array<std::string_view, 4> kNames = {"csv", "json", "geojson", "kml"};
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (kNames.at(i) == name) return static_cast<PointFormat>(i);
  }
  throw std::runtime_error("'" + std::string(name) + "' is none of csv, json, geojson, kml");
}

std::string FixedText(double value, int decimals) {
  std::array<char, 400> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  const std::string_view digits(text.data());
  const bool is_zero = digits.find_first_not_of("-0.") == std::string_view::npos;
  return std::string(is_zero && digits.front() == '-' ? digits.substr(1) : digits);
}

std::string TextOf(const PointTable& table, PointFormat format) {
  switch (format) {
    case PointFormat::kCsv:
      return Csv(table);
    case PointFormat::kKml:
      return KmlPoints(table);
    case PointFormat::kJson:
    case PointFormat::kGeoJson:
      break;
  }
  return JsonList(table, format);
}

std::string FootprintText(const std::string& name, const std::vector<LonLat>& outline,
                          PointFormat format) {
  switch (format) {
    case PointFormat::kGeoJson:
      return FootprintGeoJson(name, PolygonsOf(outline));
    case PointFormat::kKml:
      return FootprintKml(name, PolygonsOf(outline));
    case PointFormat::kCsv:
    case PointFormat::kJson:
      break;
  }
  PointTable table;
  table.columns = {{"longitude_deg", 9, {}}, {"latitude_deg", 9, {}}};
  for (const LonLat& point : outline) {
    table.columns[0].values.push_back(point.longitude_deg);
    table.columns[1].values.push_back(point.latitude_deg);
    table.status.push_back(PointStatus::kFound);
  }
  return TextOf(table, format);
}

}  // namespace quellmark::report
