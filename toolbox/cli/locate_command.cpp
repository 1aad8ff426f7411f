#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "toolbox/cli/command.h"
#include "toolbox/cli/output.h"
#include "toolbox/cli/progress_bar.h"
#include "toolbox/cli/raw_image.h"
#include "toolbox/report/footprint.h"
#include "toolbox/report/point_table.h"
#include <quellmark/dem.h>
#include <quellmark/scene.h>

#include <CLI/CLI.hpp>

namespace quellmark::cli {

namespace {

using report::Column;
using report::PointTable;

constexpr int kDegreeDecimals = 9;
constexpr int kMetreDecimals = 4;
constexpr int kPixelDecimals = 6;

struct Arguments {
  std::string pool;
  std::vector<std::string> at;
  std::vector<std::string> ground;
  std::string points;
  std::string ground_points;
  std::string grid;
  bool footprint = false;
  bool all = false;
  std::string dem;
  std::optional<double> height_m;
  std::string format = "csv";
  std::string output;
  int threads = 0;
};

// Returns the numbers between commas, blanks or semicolons, or nothing if the text contains
// anything else.
std::optional<std::vector<double>> NumbersIn(std::string_view text) {
  std::vector<double> numbers;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r,;"), text.size()));
    if (text.empty()) return numbers;
    if (text.front() == '+') text.remove_prefix(1);
    double number = 0.0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    if (!text.empty() && std::string_view(" \t\r,;").find(text.front()) == std::string_view::npos) {
      return std::nullopt;
    }
    numbers.push_back(number);
  }
}

// The columns of points on the command line or in a table. A point has `least` to `most` numbers;
// missing ones are 0.
class PointColumns {
 public:
  PointColumns(std::size_t least, std::size_t most) : least_(least), columns_(most) {}

  void Add(const std::string& text, const std::string& place) {
    const auto numbers = NumbersIn(text);
    if (!numbers || numbers->size() < least_ || numbers->size() > columns_.size()) {
      throw std::runtime_error(
          place + ": '" + text.substr(0, 80) + "' is not " + std::to_string(least_) +
          (least_ == columns_.size() ? "" : " or " + std::to_string(columns_.size())) + " numbers");
    }
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      columns_[i].push_back(i < numbers->size() ? (*numbers)[i] : 0.0);
    }
  }
  // Ignores a first line of names, empty lines and comments.
  void AddTable(const std::string& path) {
    std::size_t line = 0;
    ForEachLine(ReadInput(path), [&](std::string_view text) {
      ++line;
      const bool has_names = line == 1 && !NumbersIn(text);
      if (text.empty() || text.front() == '#' || has_names) return;
      Add(std::string(text), path + ':' + std::to_string(line));
    });
  }

  [[nodiscard]] const std::vector<double>& operator[](std::size_t i) const { return columns_[i]; }
  [[nodiscard]] std::size_t Size() const { return columns_[0].size(); }

 private:
  std::size_t least_;
  std::vector<std::vector<double>> columns_;
};

// Returns the options for the ground. The DEM must outlive them.
GroundOptions GroundOf(const Arguments& arguments, const std::optional<Dem>& dem) {
  GroundOptions options;
  options.height_m = arguments.height_m;
  if (dem) options.dem = &*dem;
  options.threads = arguments.threads;
  return options;
}

// Columns of results of the same length, for both directions.
struct Results {
  PointTable table;

  std::span<double> AddColumn(const char* name, int decimals, std::size_t size) {
    table.columns.push_back({name, decimals, std::vector<double>(size)});
    return table.columns.back().values;
  }
  void AddColumn(const char* name, int decimals, const std::vector<double>& values) {
    table.columns.push_back({name, decimals, values});
  }
};

PointTable LocatePoints(const Scene& scene, const std::vector<double>& samples,
                        const std::vector<double>& lines, const GroundOptions& options) {
  Results results;
  results.table.columns.reserve(6);  // the spans below stay valid
  results.AddColumn("sample", kPixelDecimals, samples);
  results.AddColumn("line", kPixelDecimals, lines);
  const std::size_t size = samples.size();
  GroundPoints points;
  points.longitude_deg = results.AddColumn("longitude_deg", kDegreeDecimals, size);
  points.latitude_deg = results.AddColumn("latitude_deg", kDegreeDecimals, size);
  points.height_m = results.AddColumn("height_m", kMetreDecimals, size);
  points.incidence_deg = results.AddColumn("incidence_deg", kDegreeDecimals, size);
  results.table.status.resize(size);
  points.status = results.table.status;
  results.table.longitude_column = 2;
  results.table.latitude_column = 3;
  static_cast<void>(scene.ImageToGround(samples, lines, points, options));
  return std::move(results.table);
}

PointTable LocateGround(const Scene& scene, const PointColumns& places, int threads) {
  Results results;
  results.table.columns.reserve(5);
  results.AddColumn("longitude_deg", kDegreeDecimals, places[0]);
  results.AddColumn("latitude_deg", kDegreeDecimals, places[1]);
  results.AddColumn("height_m", kMetreDecimals, places[2]);
  ImagePoints points;
  points.sample = results.AddColumn("sample", kPixelDecimals, places.Size());
  points.line = results.AddColumn("line", kPixelDecimals, places.Size());
  results.table.status.resize(places.Size());
  points.status = results.table.status;
  static_cast<void>(scene.GroundToImage(places[0], places[1], places[2], points, {threads, {}}));
  return std::move(results.table);
}

// Returns samples and lines for a text like "21x11": that many of each, evenly from the first to
// the last.
std::pair<std::vector<double>, std::vector<double>> GridOf(const std::string& text,
                                                           const SceneParameters& image) {
  constexpr std::size_t kMost = 50'000'000;
  std::size_t columns = 0;
  std::size_t rows = 0;
  const char* const end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), end, columns);
  const bool has_cross = first.ec == std::errc() && first.ptr != end && *first.ptr == 'x';
  const auto second = has_cross ? std::from_chars(first.ptr + 1, end, rows) : first;
  if (!has_cross || second.ec != std::errc() || second.ptr != end || columns < 1 || rows < 1 ||
      columns > kMost / rows) {
    throw UsageError{"--grid is COLUMNSxROWS, at most 50 million points"};
  }
  const auto place = [](std::size_t i, std::size_t count, std::int32_t size) {
    const double part = count == 1 ? 0.5 : static_cast<double>(i) / static_cast<double>(count - 1);
    return part * (size - 1.0);
  };
  std::pair<std::vector<double>, std::vector<double>> grid;
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t column = 0; column < columns; ++column) {
      grid.first.push_back(place(column, columns, image.samples));
      grid.second.push_back(place(row, rows, image.lines));
    }
  }
  return grid;
}

// Locates all samples of the image, some lines at a time.
void LocateAll(const Scene& scene, const Arguments& arguments, const GroundOptions& options) {
  constexpr std::size_t kPointsAtOnce = std::size_t{1} << 20;
  const auto samples = static_cast<std::size_t>(scene.Parameters().samples);
  const auto lines = static_cast<std::size_t>(scene.Parameters().lines);
  const std::size_t block = std::clamp<std::size_t>(kPointsAtOnce / samples, 1, lines);
  std::vector<std::string> names = {"longitude_deg", "latitude_deg", "incidence_deg"};
  if (options.dem != nullptr) names.emplace_back("height_m");
  std::vector<std::vector<double>> bands(names.size(), std::vector<double>(samples * block));

  RawImage image(arguments.output, samples, lines, names);
  ProgressBar bar("lines");
  const auto start = std::chrono::steady_clock::now();
  for (std::size_t first = 0; first < lines; first += block) {
    const std::size_t count = std::min(block, lines - first);
    ImageGrid grid;
    grid.samples = samples;
    grid.first_line = static_cast<double>(first);
    grid.lines = count;
    GroundPoints points;
    const auto band = [&](std::size_t i) { return std::span<double>(bands[i]).first(grid.Size()); };
    points.longitude_deg = band(0);
    points.latitude_deg = band(1);
    points.incidence_deg = band(2);
    if (options.dem != nullptr) points.height_m = band(3);
    static_cast<void>(scene.ImageToGround(grid, points, options));
    for (std::size_t line = 0; line < count; ++line) {
      for (std::size_t i = 0; i < bands.size(); ++i) {
        image.Write(band(i).subspan(line * samples, samples));
      }
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    bar.Show(first + count, lines, 0, seconds.count());
  }
  bar.End();
  image.Finish();
  std::printf("%s: %zu samples x %zu lines, %zu bands\n", arguments.output.c_str(), samples, lines,
              bands.size());
}

int Run(const Arguments& arguments) {
  const int modes = (arguments.at.empty() ? 0 : 1) + (arguments.points.empty() ? 0 : 1) +
                    (arguments.ground.empty() && arguments.ground_points.empty() ? 0 : 1) +
                    (arguments.grid.empty() ? 0 : 1) + (arguments.footprint ? 1 : 0) +
                    (arguments.all ? 1 : 0);
  if (modes > 1) {
    throw UsageError{"one of --at, --points, --ground, --grid, --footprint and --all at a time"};
  }
  if (arguments.height_m && !arguments.dem.empty()) {
    throw UsageError{"--height and --dem exclude each other"};
  }
  if (arguments.all && arguments.output.empty()) throw UsageError{"--all needs -o"};
  const report::PointFormat format = report::PointFormatFromName(arguments.format);
  const Scene scene = Scene::Open(arguments.pool);
  std::optional<Dem> dem;
  if (!arguments.dem.empty()) dem = Dem::Open(arguments.dem);
  const GroundOptions options = GroundOf(arguments, dem);

  if (arguments.all) {
    LocateAll(scene, arguments, options);
    return kDone;
  }
  if (arguments.footprint) {
    const std::string name = std::filesystem::path(arguments.pool).stem().string();
    WriteOutput(arguments.output,
                report::FootprintText(name, report::OutlineOf(scene, options), format));
    return kDone;
  }
  PointTable table;
  if (!arguments.ground.empty() || !arguments.ground_points.empty()) {
    PointColumns places(2, 3);
    for (const std::string& text : arguments.ground) places.Add(text, "--ground");
    if (!arguments.ground_points.empty()) places.AddTable(arguments.ground_points);
    table = LocateGround(scene, places, arguments.threads);
  } else if (!arguments.at.empty() || !arguments.points.empty()) {
    PointColumns positions(2, 2);
    for (const std::string& text : arguments.at) positions.Add(text, "--at");
    if (!arguments.points.empty()) positions.AddTable(arguments.points);
    table = LocatePoints(scene, positions[0], positions[1], options);
  } else {
    // By default the centre and the corners are located.
    const auto [samples, lines] =
        GridOf(arguments.grid.empty() ? "3x3" : arguments.grid, scene.Parameters());
    table = LocatePoints(scene, samples, lines, options);
  }
  WriteOutput(arguments.output, report::TextOf(table, format));
  return kDone;
}

}  // namespace

RunCommand AddLocate(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  command.description("Locate image positions on the ground, and places in the image");
  command.add_option("POOL", arguments->pool, "The scene")->required();
  command
      .add_option("--at", arguments->at, "SAMPLE,LINE: an image position (from 0; fractions too)")
      ->take_all();
  command.add_option("--points", arguments->points,
                     "A table (or - for standard input) with sample and line in each row");
  command.add_option("--grid", arguments->grid,
                     "COLUMNSxROWS positions over the image (default: 3x3)");
  command.add_flag("--footprint", arguments->footprint, "The outline of the image");
  command.add_flag("--all", arguments->all,
                   "Every sample: raw doubles with an ENVI header beside them; needs -o");
  command
      .add_option("--ground", arguments->ground, "LON,LAT[,H]: a place, to be found in the image")
      ->take_all();
  command.add_option("--ground-points", arguments->ground_points,
                     "A table (or - for standard input) with longitude, latitude and height");
  command.add_option("--dem", arguments->dem, "Locate on the terrain of this DEM descriptor");
  command.add_option("--height", arguments->height_m,
                     "Height above the ellipsoid [m] (default: the scene's local_height)");
  command.add_option("--format", arguments->format, "csv, json, geojson or kml (default: csv)")
      ->check(CLI::IsMember({"csv", "json", "geojson", "kml"}));
  command.add_option("-o,--output", arguments->output,
                     "The file to write (default: standard output)");
  command.add_option("--threads", arguments->threads, "Threads (default: one a processor)")
      ->check(CLI::Range(0, 1024));
  command.footer(
      "Examples:\n"
      "  qmtool locate scene.pool --at 0,0 --at 21168,13499\n"
      "  qmtool locate scene.pool --footprint --format geojson -o footprint.geojson\n"
      "  qmtool locate scene.pool --ground -61.14,50.84,225\n"
      "Longitudes lie in (-180, 180]; a position without an answer has a status that says why.");
  return [arguments] { return Run(*arguments); };
}

}  // namespace quellmark::cli
