// The enumerations of a radar scene. Other programs read the texts and aliases: kept exactly.
#pragma once

#include <bitset>
#include <cstddef>

#include "basic/enum_base.h"
#include "basic/tuple.h"

namespace SAR {

using BASIC::TYPES::ENUM_BASE;
using BASIC::TYPES::ENUMERATION;
using BASIC::TYPES::EnumTable;

inline constexpr EnumTable kQuicklookResolutionClass = {
    .class_name = "SAR::QuicklookResolutionClass",
    .parameter_name = "quicklook_resolution_class",
    .values = {{"lowRes"}, {"mediumRes"}},
    .aliases = {{"lres", "lowRes"}, {"mres", "mediumRes"}}};

inline constexpr EnumTable kPolarizationType = {.class_name = "SAR::PolarizationType",
                                                .parameter_name = "polarization_type",
                                                .values = {{"V"}, {"H"}}};

inline constexpr EnumTable kTxRxType = {.class_name = "SAR::TxRxType",
                                        .parameter_name = "tx_rx_type",
                                        .values = {{"VV"}, {"VH"}, {"HV"}, {"HH"}}};

inline constexpr EnumTable kOrbitDirection = {.class_name = "SAR::OrbitDirection",
                                              .parameter_name = "orbit_direction",
                                              .values = {{"A"}, {"D"}, {"U"}},
                                              .aliases = {{"ascending", "A"},
                                                          {"ASCENDING", "A"},
                                                          {"descending", "D"},
                                                          {"DESCENDING", "D"},
                                                          {"undefined", "U"},
                                                          {"UNDEFINED", "U"}}};

inline constexpr EnumTable kAntennaLookDirection = {.class_name = "SAR::AntennaLookDirection",
                                                    .parameter_name = "antenna_look_direction",
                                                    .values = {{"L"}, {"R"}, {"U"}},
                                                    .aliases = {{"left", "L"},
                                                                {"elevationLeft", "L"},
                                                                {"LEFT", "L"},
                                                                {"right", "R"},
                                                                {"elevationRight", "R"},
                                                                {"RIGHT", "R"},
                                                                {"undefined", "U"},
                                                                {"elevationUndefined", "U"},
                                                                {"UNDEFINED", "U"}}};

// List and ids both run clockwise, but the list starts at the top and the ids at the bottom: kept
// exactly, do not correct.
inline constexpr EnumTable kEdge = {
    .class_name = "SAR::Edge",
    .parameter_name = "edge",
    .values = {{"TOP", 3}, {"RIGHT", 4}, {"BOTTOM", 1}, {"LEFT", 2}}};

inline constexpr EnumTable kAzimuth = {.class_name = "SAR::Azimuth",
                                       .parameter_name = "azimuth",
                                       .values = {{.text = "start", .second_text = "early"},
                                                  {.text = "center", .second_text = "mid"},
                                                  {.text = "stop", .second_text = "late"}},
                                       .aliases = {{"first", "start"}, {"last", "stop"}}};

inline constexpr EnumTable kRange = {
    .class_name = "SAR::Range", .parameter_name = "range", .values = {{"near"}, {"mid"}, {"far"}}};

inline constexpr EnumTable kImageType = {.class_name = "SAR::ImageType",
                                         .parameter_name = "image_type",
                                         .values = {{"PORTRAIT"}, {"LANDSCAPE"}}};

inline constexpr EnumTable kImagingConfiguration = {
    .class_name = "SAR::ImagingConfiguration",
    .parameter_name = "imaging_configuration",
    .values = {{"StripMap"}, {"ScanSAR"}, {"SpotLight"}, {"TopSAR"}},
    .aliases = {{"SM", "StripMap"}, {"SC", "ScanSAR"}, {"SL", "SpotLight"}}};

inline constexpr EnumTable kChirpSlope = {.class_name = "SAR::ChirpSlope",
                                          .parameter_name = "chirp_slope",
                                          .values = {{"UpChirp"}, {"DownChirp"}, {"NotApplicable"}},
                                          .aliases = {{"up", "UpChirp"}, {"down", "DownChirp"}}};

inline constexpr EnumTable kChirpType = {.class_name = "SAR::ChirpType",
                                         .parameter_name = "chirp_type",
                                         .values = {{"ideal"}, {"model"}, {"replica"}},
                                         .aliases = {{"nominalChirp", "ideal"},
                                                     {"nominal", "ideal"},
                                                     {"idealChirp", "ideal"},
                                                     {"modelChirp", "model"}}};

inline constexpr EnumTable kProductFormatId = {.class_name = "SAR::ProductFormatId",
                                               .parameter_name = "product_format_id",
                                               .values = {{"PLAIN"}, {"QLZ_ISP"}}};

inline constexpr EnumTable kProjection = {
    .class_name = "SAR::Projection",
    .parameter_name = "projection",
    .values = {{"slant range"}, {"ground range"}, {"map"}, {"undefined"}},
    .aliases = {{"SLANTRANGE", "slant range"},
                {"GROUNDRANGE", "ground range"},
                {"MAP", "map"},
                {"UNDEFINED", "undefined"}}};

inline constexpr EnumTable kMapProjection = {.class_name = "SAR::MapProjection",
                                             .parameter_name = "map_projection",
                                             .values = {{"UTM"}, {"UPS"}, {"AUTO"}}};

/// A position along one direction of the image.
class Dimension : public ENUM_BASE {};

#define QM_SAR_ENUMERATION(name, ...)            \
  class name : public ENUMERATION<__VA_ARGS__> { \
   public:                                       \
    using ENUMERATION::ENUMERATION;              \
  };

QM_SAR_ENUMERATION(QuicklookResolutionClass, kQuicklookResolutionClass)
QM_SAR_ENUMERATION(PolarizationType, kPolarizationType)
QM_SAR_ENUMERATION(OrbitDirection, kOrbitDirection)
QM_SAR_ENUMERATION(AntennaLookDirection, kAntennaLookDirection)
QM_SAR_ENUMERATION(Edge, kEdge)
QM_SAR_ENUMERATION(Azimuth, kAzimuth, Dimension)
QM_SAR_ENUMERATION(Range, kRange, Dimension)
QM_SAR_ENUMERATION(ImageType, kImageType)
QM_SAR_ENUMERATION(ImagingConfiguration, kImagingConfiguration)
QM_SAR_ENUMERATION(ChirpSlope, kChirpSlope)
QM_SAR_ENUMERATION(ChirpType, kChirpType)
QM_SAR_ENUMERATION(ProductFormatId, kProductFormatId)
QM_SAR_ENUMERATION(Projection, kProjection)
QM_SAR_ENUMERATION(MapProjection, kMapProjection)

#undef QM_SAR_ENUMERATION

/// Transmit and receive polarization; all four pairs are allowed.
class TxRxType : public ENUMERATION<kTxRxType> {
 public:
  using ENUMERATION::ENUMERATION;
  /// If a polarization is not set, reports "invalid combination of transmit and receive
  /// polarization" and throws ERROR_ENUM_BASE.
  TxRxType(const PolarizationType& transmit, const PolarizationType& receive);

  /// Not set if the pair is not set.
  [[nodiscard]] PolarizationType Transmit() const;
  [[nodiscard]] PolarizationType Receive() const;
};

/// The orientation of the image: the edge of near range and the edge where the azimuth starts. Far
/// range and the stop of the azimuth are at the opposite edges.
class ImageDirection : public TUPLE<Edge> {
 public:
  /// Reports "range and azimuth should be at orthogonal edges" and throws ERROR_ENUM_BASE if they
  /// are not.
  ImageDirection(const Edge& range, const Edge& azimuth);

  /// The edge of this position. For a middle position, or one that is not set, reports "mid range
  /// is at no edge" or "mid azimuth is at no edge" and throws ERROR_ENUM_BASE.
  [[nodiscard]] Edge EdgeOf(const Range& range) const;
  [[nodiscard]] Edge EdgeOf(const Azimuth& azimuth) const;
};

/// A set of azimuth positions.
class Azimuths {
 public:
  /// Throws ERROR_ENUM_BASE_INVALID_ID for a position that is not set.
  void Insert(const Azimuth& azimuth);
  [[nodiscard]] bool Contains(const Azimuth& azimuth) const;
  [[nodiscard]] std::size_t Count() const { return ids_.count(); }

 private:
  std::bitset<kAzimuth.Size() + 1> ids_;  // by id; bit 0 stays clear
};

}  // namespace SAR
