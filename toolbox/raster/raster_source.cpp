#include "toolbox/raster/raster_source.h"

#include <cpl_error.h>
#include <cpl_string.h>
#include <gdal_priv.h>
#include <gdal_utils.h>
#include <ogr_spatialref.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>

namespace quellmark::raster {

namespace {

struct CloseDataset {
  void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using DatasetPtr = std::unique_ptr<GDALDataset, CloseDataset>;

[[noreturn]] void Fail(const std::string& what) {
  const char* const reason = CPLGetLastErrorMsg();
  throw std::runtime_error(*reason == '\0' ? what : what + ": " + reason);
}

DatasetPtr OpenRaster(const std::string& path) {
  CPLErrorReset();
  DatasetPtr dataset(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
  if (dataset == nullptr) Fail(path + ": is no raster");
  if (dataset->GetRasterCount() < 1) Fail(path + ": has no band");
  return dataset;
}

// A list of options as on the command line of GDAL's programs.
class OptionList {
 public:
  OptionList(std::initializer_list<std::string> options) {
    for (const std::string& option : options) list_.AddString(option.c_str());
  }
  [[nodiscard]] char** Get() { return list_.List(); }

 private:
  CPLStringList list_;
};

DatasetPtr MosaicOf(const std::vector<std::string>& paths) {
  std::vector<const char*> names;
  for (const std::string& path : paths) {
    static_cast<void>(OpenRaster(path));
    names.push_back(path.c_str());
  }
  // Gaps between the rasters are missing heights, not 0.
  OptionList list = {"-resolution", "highest", "-vrtnodata",
                     std::to_string(RasterSource::MissingValue())};
  GDALBuildVRTOptions* const options = GDALBuildVRTOptionsNew(list.Get(), nullptr);
  CPLErrorReset();
  GDALDatasetH mosaic =
      GDALBuildVRT("", static_cast<int>(names.size()), nullptr, names.data(), options, nullptr);
  GDALBuildVRTOptionsFree(options);
  if (mosaic == nullptr || CPLGetLastErrorType() != CE_None) {
    GDALClose(mosaic);
    Fail("the rasters make no mosaic");
  }
  return DatasetPtr(GDALDataset::FromHandle(mosaic));
}

std::string Digits(double value) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%.17g", value);
  return text.data();
}

// Returns a view of a dataset in geographic WGS84, with the pixels of `places` if given.
DatasetPtr Warped(GDALDataset& source, const std::optional<PixelPlaces>& places) {
  // Outside the source, and where it has no value, heights are missing, not 0.
  OptionList list = {
      "-of",      "VRT", "-t_srs",  "EPSG:4326",  "-r",
      "bilinear", "-ot", "Float32", "-dstnodata", std::to_string(RasterSource::MissingValue())};
  CPLStringList arguments(CSLDuplicate(list.Get()));
  if (places) {
    const double south =
        places->north_deg - places->lat_step_deg * static_cast<double>(places->rows);
    const double east =
        places->west_deg + places->lon_step_deg * static_cast<double>(places->columns);
    arguments.AddString("-te");
    for (const double edge : {places->west_deg, south, east, places->north_deg}) {
      arguments.AddString(Digits(edge).c_str());
    }
    arguments.AddString("-ts");
    arguments.AddString(std::to_string(places->columns).c_str());
    arguments.AddString(std::to_string(places->rows).c_str());
  }
  GDALWarpAppOptions* const options = GDALWarpAppOptionsNew(arguments.List(), nullptr);
  GDALDatasetH from = GDALDataset::ToHandle(&source);
  CPLErrorReset();
  GDALDatasetH warped = GDALWarp("", nullptr, 1, &from, options, nullptr);
  GDALWarpAppOptionsFree(options);
  if (warped == nullptr) Fail("the raster can not be resampled");
  return DatasetPtr(GDALDataset::FromHandle(warped));
}

bool IsNorthUp(const std::array<double, 6>& transform) {
  return transform[2] == 0.0 && transform[4] == 0.0 && transform[1] > 0.0 && transform[5] < 0.0;
}

PixelPlaces PlacesIn(GDALDataset& dataset) {
  std::array<double, 6> transform{};
  if (dataset.GetGeoTransform(transform.data()) != CE_None) {
    throw std::runtime_error("the raster has no place on the earth");
  }
  return {transform[0],
          transform[3],
          transform[1],
          -transform[5],
          dataset.GetRasterXSize(),
          dataset.GetRasterYSize()};
}

// Whether longitudes and latitudes refer to the WGS84 ellipsoid. GRS80 differs by 0.1 mm and counts
// too.
bool IsGeographicWgs84(const OGRSpatialReference& reference) {
  constexpr double kSemiMajor_m = 6378137.0;
  constexpr double kInverseFlattening = 298.257;
  return reference.IsGeographic() != 0 && reference.GetSemiMajor() == kSemiMajor_m &&
         std::abs(reference.GetInvFlattening() - kInverseFlattening) < 1e-3;
}

// Returns the name of the geoid to which the heights refer by declaration, or "".
std::string DeclaredGeoid(const OGRSpatialReference* reference) {
  if (reference == nullptr || reference->IsVertical() == 0) return "";
  const char* const datum = reference->GetAttrValue("VERT_DATUM");
  const char* const name = datum != nullptr ? datum : reference->GetAttrValue("VERT_CS");
  const std::string text = name == nullptr ? "an unnamed vertical datum" : name;
  const bool is_ellipsoidal = text.find("llipsoid") != std::string::npos;
  return is_ellipsoidal ? "" : text;
}

HeightType HeightTypeOf(GDALDataType type) {
  switch (type) {
    case GDT_Byte:
    case GDT_Int16:
      return HeightType::kInt16;
    case GDT_UInt16:
    case GDT_Int32:
      return HeightType::kInt32;
    default:
      return HeightType::kFloat32;
  }
}

// A raster of a geoid's heights above the ellipsoid, with bilinear interpolation.
class Geoid {
 public:
  explicit Geoid(const std::string& path) : path_(path), dataset_(OpenRaster(path)) {
    places_ = PlacesIn(*dataset_);
    std::array<double, 6> transform{};
    dataset_->GetGeoTransform(transform.data());
    if (!IsNorthUp(transform)) throw std::runtime_error(path + ": is not north up");
    const auto size = static_cast<std::size_t>(places_.columns * places_.rows);
    constexpr std::size_t kMost = std::size_t{1} << 28;
    if (size > kMost) throw std::runtime_error(path + ": is too large for a geoid");
    values_.resize(size);
    const auto columns = static_cast<int>(places_.columns);
    const auto rows = static_cast<int>(places_.rows);
    if (dataset_->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, columns, rows, values_.data(), columns,
                                             rows, GDT_Float64, 0, 0, nullptr) != CE_None) {
      Fail(path + ": can not be read");
    }
    int has_missing = 0;
    missing_ = dataset_->GetRasterBand(1)->GetNoDataValue(&has_missing);
    has_missing_ = has_missing != 0;
  }

  [[nodiscard]] double HeightAt(double longitude_deg, double latitude_deg) const {
    const double turns = std::floor((longitude_deg - places_.west_deg) / 360.0);
    const double x =
        (longitude_deg - 360.0 * turns - places_.west_deg) / places_.lon_step_deg - 0.5;
    const double y = (places_.north_deg - latitude_deg) / places_.lat_step_deg - 0.5;
    const double column = std::floor(x);
    const double row = std::floor(y);
    const double east = x - column;
    const double south = y - row;
    return (1.0 - south) * ((1.0 - east) * At(column, row) + east * At(column + 1.0, row)) +
           south * ((1.0 - east) * At(column, row + 1.0) + east * At(column + 1.0, row + 1.0));
  }

 private:
  // Up to half a pixel beyond the edge the last value counts. A geoid around the whole earth wraps
  // around.
  [[nodiscard]] double At(double column, double row) const {
    const auto columns = static_cast<double>(places_.columns);
    const auto rows = static_cast<double>(places_.rows);
    const bool is_global = std::abs(columns * places_.lon_step_deg - 360.0) < places_.lon_step_deg;
    if (is_global && column < 0.0) column += columns;
    if (is_global && column >= columns) column -= columns;
    if (column < -1.0 || row < -1.0 || column > columns || row > rows) {
      throw std::runtime_error(path_ + ": does not cover the raster");
    }
    const double held_column = std::min(std::max(column, 0.0), columns - 1.0);
    const double held_row = std::min(std::max(row, 0.0), rows - 1.0);
    const double value = values_[static_cast<std::size_t>(held_row * columns + held_column)];
    if (std::isnan(value) || (has_missing_ && value == missing_)) {
      throw std::runtime_error(path_ + ": has no value within the raster");
    }
    return value;
  }

  std::string path_;
  DatasetPtr dataset_;
  PixelPlaces places_;
  std::vector<double> values_;
  double missing_ = 0.0;
  bool has_missing_ = false;
};

}  // namespace

class RasterSource::Impl {
 public:
  Impl(const std::vector<std::string>& paths, const std::string& geoid) {
    GDALAllRegister();
    CPLSetErrorHandler(CPLQuietErrorHandler);  // exceptions report the failures
    dataset_ = paths.size() == 1 ? OpenRaster(paths[0]) : MosaicOf(paths);
    if (dataset_->GetRasterCount() > 1) notes_.emplace_back("only the first band is read");
    type_ = HeightTypeOf(dataset_->GetRasterBand(1)->GetRasterDataType());
    if (dataset_->GetRasterBand(1)->GetRasterDataType() == GDT_Float64) {
      notes_.emplace_back("64-bit values become 32-bit ones");
    }
    const OGRSpatialReference* const reference = dataset_->GetSpatialRef();
    const std::string declared = DeclaredGeoid(reference);
    if (!declared.empty() && geoid.empty()) {
      throw std::runtime_error(paths[0] + ": its heights are over " + declared +
                               "; give that geoid's heights with --geoid");
    }
    if (!geoid.empty()) {
      geoid_.emplace(geoid);
      type_ = HeightType::kFloat32;
      notes_.emplace_back("heights were converted with the geoid of " + geoid);
    }
    BringToGrid(reference);
    ReadMissing();
  }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() {
    dataset_.reset();
    while (!sources_.empty()) sources_.pop_back();
  }

  void ReadRow(std::int64_t row, std::int64_t first, std::vector<double>& heights_m) {
    CPLErrorReset();
    const auto count = static_cast<int>(heights_m.size());
    if (Band().RasterIO(GF_Read, static_cast<int>(first), static_cast<int>(row), count, 1,
                        heights_m.data(), count, 1, GDT_Float64, 0, 0, nullptr) != CE_None) {
      Fail("row " + std::to_string(row) + " can not be read");
    }
    const PixelPlaces places = PlacesOf(grid_);
    const double latitude =
        places.north_deg - (static_cast<double>(row) + 0.5) * places.lat_step_deg;
    for (std::size_t i = 0; i < heights_m.size(); ++i) {
      double& height = heights_m[i];
      if (std::isnan(height) || (has_missing_ && height == missing_)) {
        height = MissingValue();
      } else if (geoid_) {
        const double column = static_cast<double>(first) + static_cast<double>(i) + 0.5;
        height += geoid_->HeightAt(places.west_deg + column * places.lon_step_deg, latitude);
      }
    }
  }

  [[nodiscard]] GDALRasterBand& Band() { return *dataset_->GetRasterBand(1); }

  GridPlacement grid_;
  HeightType type_ = HeightType::kFloat32;
  bool has_missing_ = false;
  std::vector<std::string> notes_;

 private:
  void Resample(const std::optional<PixelPlaces>& places, const std::string& note) {
    DatasetPtr warped = Warped(*dataset_, places);
    type_ = HeightType::kFloat32;
    sources_.push_back(std::move(dataset_));  // the view reads from it
    dataset_ = std::move(warped);
    notes_.push_back(note);
  }

  void BringToGrid(const OGRSpatialReference* reference) {
    std::array<double, 6> transform{};
    if (dataset_->GetGeoTransform(transform.data()) != CE_None) {
      throw std::runtime_error("the raster has no place on the earth");
    }
    if (reference == nullptr) {
      const bool may_be_degrees = std::abs(transform[0]) <= 360.0 && std::abs(transform[3]) <= 90.5;
      if (!may_be_degrees || !IsNorthUp(transform)) {
        throw std::runtime_error("the raster does not say what its coordinates are");
      }
      notes_.emplace_back("no coordinate system is declared: degrees on WGS84 are assumed");
    } else if (!IsGeographicWgs84(*reference) || !IsNorthUp(transform)) {
      Resample(std::nullopt,
               "resampled (bilinear): its pixels are no north-up grid of WGS84 degrees");
    }
    const PixelPlaces places = PlacesIn(*dataset_);
    std::optional<GridPlacement> grid = PlaceInGrid(places);
    if (!grid) {
      grid = NearestGrid(places);
      if (!grid) throw std::runtime_error("the raster's pixels make no grid of a DEM");
      Resample(PlacesOf(*grid), "resampled (bilinear): its pixels do not lie on a DEM's grid");
    }
    grid_ = *grid;
  }

  void ReadMissing() {
    int has_missing = 0;
    missing_ = Band().GetNoDataValue(&has_missing);
    has_missing_ = has_missing != 0;
  }

  // Views are destroyed before the datasets that they read from.
  std::vector<DatasetPtr> sources_;
  DatasetPtr dataset_;
  double missing_ = 0.0;
  std::optional<Geoid> geoid_;
};

RasterSource::RasterSource(const std::vector<std::string>& paths, const std::string& geoid)
    : impl_(std::make_unique<Impl>(paths, geoid)) {}
RasterSource::~RasterSource() = default;

const GridPlacement& RasterSource::Grid() const { return impl_->grid_; }
HeightType RasterSource::Type() const { return impl_->type_; }
bool RasterSource::HasMissing() const {
  return impl_->has_missing_ || impl_->type_ == HeightType::kFloat32;
}
const std::vector<std::string>& RasterSource::Notes() const { return impl_->notes_; }
void RasterSource::ReadRow(std::int64_t row, std::int64_t first, std::vector<double>& heights_m) {
  impl_->ReadRow(row, first, heights_m);
}

}  // namespace quellmark::raster
