// The highest meeting point of a range-Doppler curve with the terrain.
#pragma once

#include <array>
#include <span>

#include "geolocation/ellipsoid_type.h"
#include "imaging/kernel.h"
#include "imaging/point_status.h"
#include "imaging/terrain_grid.h"

namespace quellmark::imaging {

/// The curve of a point over a stretch of heights: the ground points of one range and sensor, as
/// positions in the terrain grid. The positions are polynomials of degree 4 in t, which runs from
/// -1 at the lowest height of the stretch to 1 at the highest.
struct TerrainCurve {
  std::array<double, 5> x{};  ///< coefficients for the column
  std::array<double, 5> y{};  ///< coefficients for the row
  double middle_m = 0.0;      ///< height at t = 0
  double half_m = 0.0;        ///< height at t = 1 less middle_m
  double longest_step = 0.0;  ///< step of t over which the curve is straight to 0.02 cells

  [[nodiscard]] double HeightAt(double t) const { return middle_m + half_m * t; }
};

/// Walks down curves and finds where they first cross the terrain.
///
/// A curve is followed downwards from the terrain's greatest height, so the first meeting point is
/// the highest one. Blocks of cells are passed in one step if the curve stays above all their
/// heights (or below them, once it is under the terrain). In a cell the bilinear height along the
/// curve is a parabola, whose first meeting is computed.
class TerrainWalk {
 public:
  explicit TerrainWalk(const TerrainGrid& grid) : grid_(grid) {}

  /// Continues along the next stretch. Returns false when no further stretch is needed.
  bool Follow(const TerrainCurve& curve);

  [[nodiscard]] bool Meets() const { return crossings_ > 0 && !meets_in_void_; }
  [[nodiscard]] bool IsLayover() const { return crossings_ > 1; }
  /// The first meeting [m]: its height, and two heights around it at which the curve is above and
  /// below the terrain. `rise_` is the derivative of the difference with respect to height.
  [[nodiscard]] double Height() const { return height_m_; }
  [[nodiscard]] double Above() const { return above_m_; }
  [[nodiscard]] double Below() const { return below_m_; }
  [[nodiscard]] double Rise() const { return rise_; }

 private:
  // A place on the curve, and its direction for decreasing t.
  struct Place {
    double t, x, y, dx, dy;
  };

  [[nodiscard]] static Place PlaceAt(const TerrainCurve& curve, double t);
  bool EnterGrid(const TerrainCurve& curve, Place& at);
  bool PassBlock(const TerrainCurve& curve, Place& at, std::size_t i, std::size_t j);
  void PassCell(const TerrainCurve& curve, Place& at, std::size_t i, std::size_t j);
  void PassPartOfCell(const TerrainCurve& curve, const CellHeights& cell, double t, double end,
                      std::size_t i, std::size_t j);
  [[nodiscard]] double StepOut(const TerrainCurve& curve, const Place& at, std::size_t i,
                               std::size_t j, int shift) const;
  void Enter(const TerrainCurve& curve, double t, double difference);
  void Cross(double height_m, double above_m, double below_m, double rise);

  const TerrainGrid& grid_;
  bool is_above_ = true;
  bool over_void_ = true;  // there was a void since the last known height
  double last_known_m_ = 0.0;
  int crossings_ = 0;
  bool meets_in_void_ = false;
  double height_m_ = 0.0;
  double above_m_ = 0.0;
  double below_m_ = 0.0;
  double rise_ = 1.0;
  int level_ = TerrainGrid::kLevels;
};

/// Finds the heights of a batch's meeting points.
class TerrainSearch {
 public:
  TerrainSearch(const Kernel& kernel, const TerrainGrid& grid, const ELLIPSOID<double>& ellipsoid)
      : kernel_(kernel), grid_(grid), ellipsoid_(ellipsoid) {}

  /// `points` has the range times. For lanes with kFound, sets their height to that of the highest
  /// meeting point, and the status to kFound, kLayover or kNoTerrain. With kNoTerrain, and for all
  /// other lanes, the height becomes `otherwise_m`.
  void Find(const LaneFrames& frames, bool shared, const LaneStates& states, double otherwise_m,
            LanePoints& points, std::span<PointStatus, kLanes> status);

 private:
  void SolveTrials(const LaneFrames& frames, bool shared, const LaneStates& states);
  void LoadNode(std::size_t node);
  bool MakeCurve(std::size_t lane, TerrainCurve& curve) const;
  void Refine(const LaneFrames& frames, bool shared, const LaneStates& states,
              std::span<PointStatus, kLanes> status);

  static constexpr std::size_t kNodes = 5;

  const Kernel& kernel_;
  const TerrainGrid& grid_;
  ELLIPSOID<double> ellipsoid_;
  LanePoints trial_{};
  std::array<bool, kLanes> solved_{};
  std::array<std::array<double, kLanes>, kNodes> column_{};
  std::array<std::array<double, kLanes>, kNodes> row_{};
  std::array<double, kLanes> low_{};  // ends of the stretch
  std::array<double, kLanes> high_{};
  std::array<double, kLanes> rise_{};  // derivative of height less terrain with respect to height
};

}  // namespace quellmark::imaging
