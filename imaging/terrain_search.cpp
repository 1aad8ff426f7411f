#include "imaging/terrain_search.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "imaging/bisection.h"

namespace quellmark::imaging {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The nodes of Chebyshev interpolation of degree 4, from high to low, and the matrix that turns
// values there into coefficients: row m belongs to T_m.
constexpr std::array<double, 5> kNodeAt = {0.9510565162951535, 0.5877852522924731, 0.0,
                                           -0.5877852522924731, -0.9510565162951535};
constexpr std::array<std::array<double, 5>, 5> kToChebyshev = {{
    {0.2, 0.2, 0.2, 0.2, 0.2},
    {0.3804226065180614, 0.23511410091698925, 0.0, -0.23511410091698925, -0.3804226065180614},
    {0.32360679774997897, -0.12360679774997897, -0.4, -0.12360679774997897, 0.32360679774997897},
    {0.23511410091698925, -0.3804226065180614, 0.0, 0.3804226065180614, -0.23511410091698925},
    {0.12360679774997897, -0.32360679774997897, 0.4, -0.32360679774997897, 0.12360679774997897},
}};

// A stretch whose last coefficient (in cells) is larger is halved. The error of the curve is far
// smaller than that, because the coefficients then fall by a factor of 50 or more.
constexpr double kLastCoefficient = 1e-3;
// Shorter stretches are not halved.
constexpr double kShortestStretch_m = 1.0;
// The curve is followed from this much above the highest to this much below the lowest height.
constexpr double kMargin_m = 1.0;
// A step that passes a block may end up to kStraightness cells outside the block. The next step may
// begin up to kEdge cells before an edge and still count as beyond it.
constexpr double kStraightness = 0.02;
constexpr double kEdge = 1e-7;
// The least step of t. With it, a stretch takes at most ten thousand steps more than it has cells.
constexpr double kLeastStep = 2e-4;
// The path through a cell with voids is divided into this many parts.
constexpr int kParts = 16;
// The error of a curve may put a meeting point this far outside the heights that bracket it.
constexpr double kBracketRoom_m = 0.05;
constexpr double kTolerance_m = 1e-6;  // for the height of a meeting point
constexpr double kAccepted_m = 5e-4;   // if rounding or the edge of a void prevents the tolerance
constexpr int kRounds = 60;

double Polynomial(const std::array<double, 5>& c, double t) {
  return c[0] + t * (c[1] + t * (c[2] + t * (c[3] + t * c[4])));
}

double Slope(const std::array<double, 5>& c, double t) {
  return c[1] + t * (2.0 * c[2] + t * (3.0 * c[3] + t * 4.0 * c[4]));
}

// An upper bound of the second derivative on -1 .. 1.
double Bend(const std::array<double, 5>& c) {
  return 2.0 * std::abs(c[2]) + 6.0 * std::abs(c[3]) + 12.0 * std::abs(c[4]);
}

// The time from `from` to `edge` at this speed; infinite if the speed is 0.
double TimeTo(double edge, double from, double speed) {
  return speed == 0.0 ? kInfinity : (edge - from) / speed;
}

constexpr double kNoRoot = 2.0;

// Returns the smallest s > 0 at which a + b s + c s^2 becomes 0, or kNoRoot. The sum is positive at
// s = 0; if rounding makes it slightly negative there, s is slightly negative.
double FirstRoot(double a, double b, double c) {
  const double discriminant = b * b - 4.0 * a * c;
  if (!(discriminant >= 0.0)) return kNoRoot;
  const double denominator = -b + std::sqrt(discriminant);
  const double root = denominator > 0.0 ? 2.0 * a / denominator : kNoRoot;
  return root > -1e-3 ? root : kNoRoot;
}

}  // namespace

inline TerrainWalk::Place TerrainWalk::PlaceAt(const TerrainCurve& curve, double t) {
  return {t, Polynomial(curve.x, t), Polynomial(curve.y, t), -Slope(curve.x, t),
          -Slope(curve.y, t)};
}

bool TerrainWalk::Follow(const TerrainCurve& curve) {
  Place at = PlaceAt(curve, 1.0);
  while (at.t > -1.0) {
    if (EnterGrid(curve, at)) continue;
    if (at.t <= -1.0) break;
    const double i = std::floor(at.x + std::copysign(kEdge, at.dx));
    const double j = std::floor(at.y + std::copysign(kEdge, at.dy));
    const auto column = static_cast<std::size_t>(i);
    const auto row = static_cast<std::size_t>(j);
    while (level_ > 0 && !PassBlock(curve, at, column, row)) --level_;
    if (level_ > 0) continue;
    PassCell(curve, at, column, row);
    if (crossings_ > 1 || meets_in_void_) return false;
  }
  return true;
}

// If the place is outside the grid, moves it to where the curve enters the grid, or to the end, and
// returns true.
bool TerrainWalk::EnterGrid(const TerrainCurve& curve, Place& at) {
  const auto columns = static_cast<double>(grid_.CellColumns());
  const auto rows = static_cast<double>(grid_.CellRows());
  const double x = at.x + std::copysign(kEdge, at.dx);
  const double y = at.y + std::copysign(kEdge, at.dy);
  if (x >= 0.0 && x < columns && y >= 0.0 && y < rows) return false;
  over_void_ = true;
  double step = 0.0;
  const auto wait = [&step](double place, double speed, double limit) {
    double needed = 0.0;
    if (place < 0.0) needed = speed > 0.0 ? -place / speed : kInfinity;
    if (place >= limit) needed = speed < 0.0 ? (limit - place) / speed : kInfinity;
    step = std::max(step, needed);
  };
  wait(x, at.dx, columns);
  wait(y, at.dy, rows);
  step = std::min(step, curve.longest_step);
  const double least = kEdge / (std::abs(at.dx) + std::abs(at.dy) + kEdge);
  at = PlaceAt(curve, std::max(at.t - std::max(step, least), -1.0));
  level_ = TerrainGrid::kLevels;
  return true;
}

// Returns the step of t to the edge of the current block of cells.
inline double TerrainWalk::StepOut(const TerrainCurve& curve, const Place& at, std::size_t i,
                                   std::size_t j, int shift) const {
  const std::size_t first_i = i >> shift << shift;
  const std::size_t first_j = j >> shift << shift;
  const std::size_t size = std::size_t{1} << shift;
  const auto edge_x = static_cast<double>(at.dx > 0.0 ? first_i + size : first_i);
  const auto edge_y = static_cast<double>(at.dy > 0.0 ? first_j + size : first_j);
  const double step = std::min(TimeTo(edge_x, at.x, at.dx), TimeTo(edge_y, at.y, at.dy));
  // The step is always longer than the width of the edge.
  const double least = 2.0 * kEdge / (std::abs(at.dx) + std::abs(at.dy) + kEdge);
  return std::min(std::max(step, least), curve.longest_step);
}

// Passes the block of the current level if the curve cannot meet the terrain in it.
bool TerrainWalk::PassBlock(const TerrainCurve& curve, Place& at, std::size_t i, std::size_t j) {
  const HeightRange range = grid_.BlockRange(level_, i, j);
  const bool is_void = range.low > range.high;
  // The curve may meet the terrain if it is no higher than the highest value of the block.
  if (is_above_ && !is_void && curve.HeightAt(at.t) <= static_cast<double>(range.high)) {
    return false;
  }
  const double step = StepOut(curve, at, i, j, TerrainGrid::BlockShift(level_));
  const double end = std::max(at.t - step, -1.0);
  const bool passes =
      is_void || (is_above_ ? curve.HeightAt(end) > static_cast<double>(range.high)
                            : curve.HeightAt(at.t) < static_cast<double>(range.low));
  if (!passes) return false;
  if (is_void) {
    over_void_ = true;
  } else {
    over_void_ = false;
    last_known_m_ = curve.HeightAt(end);
  }
  at = PlaceAt(curve, end);
  level_ = std::min(level_ + 1, TerrainGrid::kLevels);
  return true;
}

void TerrainWalk::PassCell(const TerrainCurve& curve, Place& at, std::size_t i, std::size_t j) {
  const CellHeights cell = grid_.Cell(i, j);
  const double end = std::max(at.t - StepOut(curve, at, i, j, 0), -1.0);
  const Place next = PlaceAt(curve, end);
  const double u = at.x - static_cast<double>(i);
  const double v = at.y - static_cast<double>(j);
  const double next_u = next.x - static_cast<double>(i);
  const double next_v = next.y - static_cast<double>(j);
  const double twist = cell.south_west - cell.south_east - cell.north_west + cell.north_east;
  if (std::isfinite(twist)) {
    const double high = curve.HeightAt(at.t);
    const double low = curve.HeightAt(end);
    // The height of the curve above the terrain along the path s = 0 .. 1 is a + b s + c s^2.
    const double a = high - InterpolateInCell(cell, u, v);
    const double last = low - InterpolateInCell(cell, next_u, next_v);
    const double c = -(next_u - u) * (next_v - v) * twist;
    const double b = last - a - c;
    Enter(curve, at.t, a);
    const double sign = is_above_ ? 1.0 : -1.0;
    // A parabola differs from the straight line between its ends by at most c / 4.
    const double room = 0.26 * std::abs(c);
    const bool stays = sign * a > room && sign * last > room;
    const double s = stays ? kNoRoot : FirstRoot(sign * a, sign * b, sign * c);
    if (s <= 1.0) {
      const double fall = low - high;
      // The lowest place of the parabola, if the curve rises again before the end of the cell.
      const double turn = c > 0.0 ? std::clamp(-0.5 * b / c, s, 1.0) : 1.0;
      Cross(high + s * fall, high, high + turn * fall, (b + 2.0 * c * s) / fall);
      const double other = -b / c - s;
      if (other > s && other <= 1.0) Cross(high + other * fall, high, low, 1.0);
    }
    over_void_ = false;
    last_known_m_ = low;
  } else {
    PassPartOfCell(curve, cell, at.t, end, i, j);
  }
  const std::size_t block_i = i >> TerrainGrid::BlockShift(1);
  const std::size_t block_j = j >> TerrainGrid::BlockShift(1);
  at = next;
  const double next_i = std::floor(at.x + std::copysign(kEdge, at.dx));
  const double next_j = std::floor(at.y + std::copysign(kEdge, at.dy));
  const bool same_block =
      next_i >= 0.0 && next_j >= 0.0 &&
      static_cast<std::size_t>(next_i) >> TerrainGrid::BlockShift(1) == block_i &&
      static_cast<std::size_t>(next_j) >> TerrainGrid::BlockShift(1) == block_j;
  level_ = same_block ? 0 : 1;
}

// Passes a cell with voids part by part, because the heights there are not a parabola.
void TerrainWalk::PassPartOfCell(const TerrainCurve& curve, const CellHeights& cell, double t,
                                 double end, std::size_t i, std::size_t j) {
  for (int part = 0; part <= kParts; ++part) {
    const double s = t + (end - t) * part / kParts;
    const Place place = PlaceAt(curve, s);
    const double u = std::clamp(place.x - static_cast<double>(i), 0.0, 1.0);
    const double v = std::clamp(place.y - static_cast<double>(j), 0.0, 1.0);
    const double terrain = InterpolateInCell(cell, u, v);
    if (std::isnan(terrain)) {
      over_void_ = true;
      continue;
    }
    Enter(curve, s, curve.HeightAt(s) - terrain);
    over_void_ = false;
    last_known_m_ = curve.HeightAt(s);
  }
}

// Handles a place with a known height: a meeting may lie between the last such place and this one.
void TerrainWalk::Enter(const TerrainCurve& curve, double t, double difference) {
  const double height = curve.HeightAt(t);
  if ((difference > 0.0) == is_above_ || std::abs(difference) < kTolerance_m) return;
  if (over_void_ && crossings_ == 0) meets_in_void_ = true;
  Cross(0.5 * (last_known_m_ + height), last_known_m_, height, 1.0);
}

void TerrainWalk::Cross(double height_m, double above_m, double below_m, double rise) {
  if (crossings_ == 0) {
    height_m_ = height_m;
    above_m_ = above_m;
    below_m_ = below_m;
    rise_ = rise;
  }
  ++crossings_;
  is_above_ = !is_above_;
}

void TerrainSearch::SolveTrials(const LaneFrames& frames, bool shared, const LaneStates& states) {
  const auto& [a, b] = ellipsoid_;
  kernel_.solve(frames, shared, a, b, true, trial_);
  for (int lane = 0; lane < kLanes; ++lane) {
    solved_[static_cast<std::size_t>(lane)] =
        trial_.unsettled[lane] == 0.0 || SettleLane(frames, shared, lane, a, b, true, trial_);
  }
  kernel_.finish(frames, shared, states, kWantLongitude | kWantLatitude, trial_);
}

void TerrainSearch::LoadNode(std::size_t node) {
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    const bool sees = solved_[lane] && trial_.facing[lane] > 0.0;
    column_[node][lane] = trial_.longitude[lane];
    if (!sees) column_[node][lane] = kInfinity;
    row_[node][lane] = grid_.RowOf(trial_.latitude[lane]);
  }
}

// Returns false if the stretch is too long for one curve or has heights without a point.
bool TerrainSearch::MakeCurve(std::size_t lane, TerrainCurve& curve) const {
  // Columns are taken relative to the middle node, so that a curve may cross the antimeridian.
  const double middle = column_[2][lane];
  const double middle_column = grid_.ColumnOf(middle);
  std::array<double, kNodes> x{};
  std::array<double, kNodes> y{};
  for (std::size_t k = 0; k < kNodes; ++k) {
    if (!std::isfinite(column_[k][lane])) return false;
    double east = column_[k][lane] - middle;
    east = east > 180.0 ? east - 360.0 : (east < -180.0 ? east + 360.0 : east);
    x[k] = east / grid_.Layout().longitude_step_deg;
    y[k] = row_[k][lane] - row_[2][lane];
  }
  const auto to_powers = [](const std::array<double, kNodes>& f, std::array<double, 5>& c) {
    std::array<double, 5> a{};
    for (std::size_t m = 0; m < 5; ++m) {
      for (std::size_t k = 0; k < kNodes; ++k) a[m] += kToChebyshev[m][k] * f[k];
    }
    c = {a[0] - a[2] + a[4], a[1] - 3.0 * a[3], 2.0 * a[2] - 8.0 * a[4], 4.0 * a[3], 8.0 * a[4]};
    return std::abs(a[4]) <= kLastCoefficient;
  };
  const bool x_fits = to_powers(x, curve.x);
  const bool y_fits = to_powers(y, curve.y);
  if ((!x_fits || !y_fits) && high_[lane] - low_[lane] > kShortestStretch_m) return false;
  curve.x[0] += middle_column;
  curve.y[0] += row_[2][lane];
  curve.middle_m = 0.5 * (high_[lane] + low_[lane]);
  curve.half_m = 0.5 * (high_[lane] - low_[lane]);
  const double bend = std::max(Bend(curve.x), Bend(curve.y));
  curve.longest_step = std::max(std::sqrt(2.0 * kStraightness / (bend + 1e-300)), kLeastStep);
  return true;
}

void TerrainSearch::Find(const LaneFrames& frames, bool shared, const LaneStates& states,
                         double otherwise_m, LanePoints& points,
                         std::span<PointStatus, kLanes> status) {
  const HeightRange range = grid_.Range();
  const double bottom = static_cast<double>(range.low) - kMargin_m;
  const double top = static_cast<double>(range.high) + kMargin_m;
  std::array<bool, kLanes> is_pending{};
  std::array<TerrainWalk, kLanes> walks = [this]<std::size_t... i>(std::index_sequence<i...>) {
    return std::array<TerrainWalk, kLanes>{((void)i, TerrainWalk(grid_))...};
  }
  (std::make_index_sequence<kLanes>());
  int pending = 0;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    trial_.tau[lane] = points.tau[lane];
    points.height[lane] = otherwise_m;
    high_[lane] = top;
    low_[lane] = bottom;
    is_pending[lane] = status[lane] == PointStatus::kFound && bottom < top;
    pending += is_pending[lane] ? 1 : 0;
  }
  while (pending > 0) {
    for (std::size_t node = 0; node < kNodes; ++node) {
      for (std::size_t lane = 0; lane < kLanes; ++lane) {
        trial_.height[lane] =
            0.5 * (high_[lane] + low_[lane]) + 0.5 * (high_[lane] - low_[lane]) * kNodeAt[node];
      }
      SolveTrials(frames, shared, states);
      LoadNode(node);
    }
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      if (!is_pending[lane]) continue;
      TerrainCurve curve;
      if (!MakeCurve(lane, curve)) {
        if (high_[lane] - low_[lane] > kShortestStretch_m) {
          low_[lane] = 0.5 * (high_[lane] + low_[lane]);
          continue;
        }
        is_pending[lane] = false;  // the curve ends here
      } else {
        is_pending[lane] = walks[lane].Follow(curve) && low_[lane] > bottom;
        high_[lane] = low_[lane];
        low_[lane] = bottom;
      }
      pending -= is_pending[lane] ? 0 : 1;
    }
  }
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    if (status[lane] != PointStatus::kFound) continue;
    const TerrainWalk& walk = walks[lane];
    if (!walk.Meets()) {
      status[lane] = PointStatus::kNoTerrain;
      continue;
    }
    if (walk.IsLayover()) status[lane] = PointStatus::kLayover;
    trial_.height[lane] = walk.Height();
    high_[lane] = walk.Above();
    low_[lane] = walk.Below();
    rise_[lane] = walk.Rise();
  }
  Refine(frames, shared, states, status);
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    if (IsAnswer(status[lane])) points.height[lane] = trial_.height[lane];
  }
}

// Improves the heights with exact points instead of the curve, whose heights have an error of a
// millimetre.
void TerrainSearch::Refine(const LaneFrames& frames, bool shared, const LaneStates& states,
                           std::span<PointStatus, kLanes> status) {
  std::array<bool, kLanes> is_pending{};
  std::array<double, kLanes> best{};
  std::array<double, kLanes> best_difference{};
  std::array<double, kLanes> last_height{};
  std::array<double, kLanes> last_difference{};
  int pending = 0;
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    is_pending[lane] = IsAnswer(status[lane]);
    pending += is_pending[lane] ? 1 : 0;
    best_difference[lane] = kInfinity;
    if (!is_pending[lane]) continue;
    // The error of the curve may put the meeting point outside its two heights.
    high_[lane] += kBracketRoom_m;
    low_[lane] -= kBracketRoom_m;
  }
  for (int round = 0; round < kRounds && pending > 0; ++round) {
    SolveTrials(frames, shared, states);
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      if (!is_pending[lane]) continue;
      double& height = trial_.height[lane];
      const double terrain = grid_.HeightAt(trial_.longitude[lane], trial_.latitude[lane]);
      const double difference = height - terrain;
      if (std::abs(difference) < best_difference[lane]) {
        best_difference[lane] = std::abs(difference);
        best[lane] = height;
      }
      const bool is_done = !(std::abs(difference) > kTolerance_m);  // also for NaN in a void
      if (is_done || high_[lane] - low_[lane] < kTolerance_m * 1e-3) {
        is_pending[lane] = false;
        --pending;
        continue;
      }
      (difference > 0.0 ? high_ : low_)[lane] = height;
      if (round > 0 && height != last_height[lane]) {
        const double secant = (difference - last_difference[lane]) / (height - last_height[lane]);
        if (std::isfinite(secant)) rise_[lane] = secant;
      }
      last_height[lane] = height;
      last_difference[lane] = difference;
      const double next = height - difference / rise_[lane];
      // Every third step halves the bracket, because the others might always shorten it from the
      // same side.
      const bool inside = next > low_[lane] && next < high_[lane] && round % 3 != 2;
      height = inside ? next : 0.5 * (high_[lane] + low_[lane]);
    }
  }
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    if (!IsAnswer(status[lane])) continue;
    trial_.height[lane] = best[lane];
    if (!(best_difference[lane] <= kAccepted_m)) status[lane] = PointStatus::kNoTerrain;
  }
}

}  // namespace quellmark::imaging
