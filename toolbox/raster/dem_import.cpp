#include "toolbox/raster/dem_import.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <stdexcept>

#include <quellmark/pool.h>

namespace quellmark::raster {

namespace {

namespace fs = std::filesystem;

constexpr double kArcSecondsPerDegree = 3600.0;

// The codes of a type of heights in the descriptor and in the header of a tile.
struct TypeCodes {
  std::int16_t value_type;
  std::uint32_t depth_bits;
  std::uint32_t srf_type;
};
TypeCodes CodesOf(HeightType type) {
  constexpr std::uint32_t kSrfInteger = 1;
  constexpr std::uint32_t kSrfFloat = 99;
  switch (type) {
    case HeightType::kInt16:
      return {2, 16, kSrfInteger};
    case HeightType::kInt32:
      return {3, 32, kSrfInteger};
    case HeightType::kFloat32:
      break;
  }
  return {5, 32, kSrfFloat};
}

// A tile file that gets its name when it is complete.
class TileFile {
 public:
  explicit TileFile(std::string path) : path_(std::move(path)), part_(path_ + ".part") {
    file_ = std::fopen(part_.c_str(), "wbe");
    if (file_ == nullptr) Fail("can not be created");
  }
  TileFile(const TileFile&) = delete;
  TileFile& operator=(const TileFile&) = delete;
  ~TileFile() {
    if (file_ != nullptr) std::fclose(file_);
    std::remove(part_.c_str());  // does nothing if the file already has its name
  }

  void Write(const void* data, std::size_t size) {
    if (std::fwrite(data, 1, size, file_) != size) Fail("can not be written");
  }
  void Complete() {
    const bool is_written = std::fclose(file_) == 0;
    file_ = nullptr;
    if (!is_written || std::rename(part_.c_str(), path_.c_str()) != 0) Fail("can not be written");
  }

 private:
  [[noreturn]] void Fail(const char* what) const {
    throw std::runtime_error(path_ + ": " + what + ": " + std::strerror(errno));
  }

  std::string path_;
  std::string part_;
  std::FILE* file_ = nullptr;
};

// Writes the header of a Sun raster file: eight big-endian words.
void WriteHeader(const TileArea& area, const TypeCodes& codes, TileFile& file) {
  constexpr std::uint32_t kMagic = 0x59A66A95;
  const auto columns = static_cast<std::uint32_t>(area.columns);
  const auto rows = static_cast<std::uint32_t>(area.rows);
  // The length of a large tile does not fit its word. Readers take 0 as "not given".
  const std::uint64_t length = std::uint64_t{columns} * rows * codes.depth_bits / 8;
  const bool fits = length <= std::numeric_limits<std::int32_t>::max();
  const std::array<std::uint32_t, 8> words = {kMagic,
                                              columns,
                                              rows,
                                              codes.depth_bits,
                                              fits ? static_cast<std::uint32_t>(length) : 0,
                                              codes.srf_type,
                                              0,
                                              0};
  std::array<unsigned char, 32> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes.at(i) = static_cast<unsigned char>(words.at(i / 4) >> (24 - 8 * (i % 4)));
  }
  file.Write(bytes.data(), bytes.size());
}

template <class Stored>
void WriteRow(const std::vector<double>& heights_m, std::vector<Stored>& stored, TileFile& file) {
  stored.resize(heights_m.size());
  std::transform(heights_m.begin(), heights_m.end(), stored.begin(),
                 [](double height) { return static_cast<Stored>(height); });
  file.Write(stored.data(), stored.size() * sizeof(Stored));
}

class Importer {
 public:
  Importer(const DemImportOptions& options, const ReportRows& report)
      : options_(options),
        report_(report),
        source_(options.rasters, options.geoid),
        tiles_(TilesOf(source_.Grid(), options.tile_size)) {
    constexpr std::size_t kMostTiles = 32767;  // the descriptor counts them in 16 bits
    if (tiles_.size() > kMostTiles) {
      throw std::runtime_error(std::to_string(tiles_.size()) +
                               " tiles are too many; take a larger --tile-size");
    }
    result_.grid = source_.Grid();
    result_.type = source_.Type();
    result_.tiles = tiles_.size();
    result_.notes = source_.Notes();
  }

  DemImportResult Import() {
    for (std::size_t i = 0; i < tiles_.size(); ++i) WriteTile(i);
    WriteDescriptor();
    if (result_.least_m > result_.most_m) result_.least_m = result_.most_m = 0.0;
    return result_;
  }

 private:
  [[nodiscard]] std::string TileName(std::size_t tile) const {
    const std::string stem = fs::path(options_.output).stem().string();
    return tiles_.size() == 1 ? stem + ".srf" : stem + '_' + std::to_string(tile) + ".srf";
  }

  void WriteTile(std::size_t tile) {
    const TileArea& area = tiles_[tile];
    TileFile file((fs::path(options_.output).parent_path() / TileName(tile)).string());
    WriteHeader(area, CodesOf(source_.Type()), file);
    std::vector<double> heights_m(static_cast<std::size_t>(area.columns));
    for (std::int64_t row = 0; row < area.rows; ++row) {
      source_.ReadRow(area.first_row + row, area.first_column, heights_m);
      Count(heights_m);
      switch (source_.Type()) {
        case HeightType::kInt16:
          WriteRow(heights_m, int16_row_, file);
          break;
        case HeightType::kInt32:
          WriteRow(heights_m, int32_row_, file);
          break;
        case HeightType::kFloat32:
          WriteRow(heights_m, float_row_, file);
          break;
      }
      if (report_) report_(++rows_done_, RowsInAll());
    }
    file.Complete();
  }

  [[nodiscard]] std::int64_t RowsInAll() const {
    std::int64_t rows = 0;
    for (const TileArea& area : tiles_) rows += area.rows;
    return rows;
  }

  void Count(const std::vector<double>& heights_m) {
    for (const double height : heights_m) {
      if (height == RasterSource::MissingValue()) {
        ++result_.missing;
        continue;
      }
      result_.least_m = std::min(result_.least_m, height);
      result_.most_m = std::max(result_.most_m, height);
    }
  }

  [[nodiscard]] Pair<std::int32_t> IndicesOf(std::int64_t column, std::int64_t row) const {
    const GridPlacement& grid = source_.Grid();
    return {static_cast<std::int32_t>(WrappedLongitudeIndex(grid, grid.west_index + column)),
            static_cast<std::int32_t>(grid.north_index - row)};
  }

  void WriteDescriptor() const {
    const GridPlacement& grid = source_.Grid();
    const bool is_centre = grid.annotation == Annotation::kPixelCentre;
    PoolEditor pool;
    pool.Set("dem_files", static_cast<std::int16_t>(tiles_.size()));
    Vector<Pair<std::int32_t>> upper_left{0, {}};
    Vector<Pair<std::int32_t>> lower_right{0, {}};
    for (std::size_t i = 0; i < tiles_.size(); ++i) {
      const TileArea& area = tiles_[i];
      pool.Set("dem_fname" + std::to_string(i), TileName(i));
      upper_left.values.push_back(IndicesOf(area.first_column, area.first_row));
      lower_right.values.push_back(
          IndicesOf(area.first_column + area.columns - 1, area.first_row + area.rows - 1));
    }
    pool.Set("dem_type", std::int16_t{2})
        .Set("dem_header", true)
        .Set("dem_value_type", CodesOf(source_.Type()).value_type)
        .Set("dem_line_wise", true)
        .Set("dem_record_header", std::int32_t{0})
        .Set("dem_y_origin_north", true)
        .Set("dem_tile_annotation", is_centre ? "PIXEL_CENTRE" : "PIXEL_EDGE")
        .Set("dem_upper_left", std::move(upper_left))
        .Set("dem_lower_right", std::move(lower_right));
    if (source_.HasMissing()) {
      pool.Set("dem_special_coding", std::int32_t{RasterSource::MissingValue()});
    }
    pool.Set("dem_lon_res", grid.LonStep_deg() * kArcSecondsPerDegree)
        .Set("dem_lat_res", grid.LatStep_deg() * kArcSecondsPerDegree);
    pool.Write(options_.output);
  }

  const DemImportOptions& options_;
  const ReportRows& report_;
  RasterSource source_;
  std::vector<TileArea> tiles_;
  DemImportResult result_{{},
                          HeightType::kInt16,
                          0,
                          0,
                          std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity(),
                          {}};
  std::int64_t rows_done_ = 0;
  std::vector<std::int16_t> int16_row_;
  std::vector<std::int32_t> int32_row_;
  std::vector<float> float_row_;
};

}  // namespace

DemImportResult ImportDem(const DemImportOptions& options, const ReportRows& report) {
  return Importer(options, report).Import();
}

}  // namespace quellmark::raster
