// Symbols: r position, v velocity, both in the earth-fixed, rotating frame; t time after the middle
// epoch; u = t / half span; c coefficients of Chebyshev polynomials T_k(u) for one coordinate.
#include "toolbox/product/orbit_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace quellmark::product {

namespace {

using Vector = std::array<double, 3>;

// The earth: WGS84 and the low harmonics of its gravity field (EGM96, not normalised).
constexpr double kMu_m3_s2 = 3.986004418e14;
constexpr double kRadius_m = 6378137.0;
constexpr double kRotation_rad_s = 7.292115e-5;
constexpr double kJ2 = 1.08262668e-3, kJ3 = -2.53265e-6, kJ4 = -1.61962e-6;
constexpr double kC22 = 1.57446e-6, kS22 = -9.03804e-7;

constexpr double kLongestStep_s = 2.0;  // error of a step: 2e-9 m
constexpr int kHighestDegree = 8;
constexpr int kWeightRounds = 8;
// State vectors count as no better than this, even if they are smoother. So a velocity with a
// constant error, as in quick-look orbits, cannot outweigh the positions.
constexpr double kLeastPosition_m = 0.01;
constexpr double kLeastVelocity_m_s = 0.003;
// With a scatter as large as this, positions (or velocities) have no weight beside the other kind.
constexpr double kMostPosition_m = 10.0;
constexpr double kMostVelocity_m_s = 1.0;

struct State {
  Vector r{};
  Vector v{};
};

// The sum of gravity, centrifugal and Coriolis acceleration [m/s^2].
Vector Acceleration(const State& s) {
  const auto [x, y, z] = s.r;
  const double r2 = x * x + y * y + z * z;
  const double r = std::sqrt(r2);
  const double q = kRadius_m / r, sine = z / r, sine2 = sine * sine;
  const double g = kMu_m3_s2 / (r2 * r);
  // Zonal terms: Vallado, Fundamentals of Astrodynamics, perturbing accelerations J2 to J4.
  const double j2 = 1.5 * kJ2 * q * q, j3 = 2.5 * kJ3 * q * q * q;
  const double j4 = 1.875 * kJ4 * q * q * q * q;
  const double across = -1.0 + j2 * (5.0 * sine2 - 1.0) + j3 * sine * (7.0 * sine2 - 3.0) +
                        j4 * (1.0 - 14.0 * sine2 + 21.0 * sine2 * sine2);
  const double along_z =
      -1.0 + j2 * (5.0 * sine2 - 3.0) + j4 * (5.0 - 70.0 / 3.0 * sine2 + 21.0 * sine2 * sine2);
  const double odd = j3 * (7.0 * sine2 * sine2 - 6.0 * sine2 + 0.6) * r;
  // The equator's flattening: gradient of 3 mu R^2 (C22 (x^2 - y^2) + 2 S22 x y) / r^5.
  const double scale = 3.0 * g * q * q;
  const double form = (kC22 * (x * x - y * y) + 2.0 * kS22 * x * y) * 5.0 / r2;
  const Vector equator = {2.0 * (kC22 * x + kS22 * y) - form * x,
                          2.0 * (kS22 * x - kC22 * y) - form * y, -form * z};
  const double w = kRotation_rad_s;
  return {g * across * x + scale * equator[0] + w * w * x + 2.0 * w * s.v[1],
          g * across * y + scale * equator[1] + w * w * y - 2.0 * w * s.v[0],
          g * (along_z * z + odd) + scale * equator[2]};
}

State Moved(const State& s, const State& rate, double dt) {
  State moved;
  for (std::size_t i = 0; i < 3; ++i) {
    moved.r[i] = s.r[i] + dt * rate.r[i];
    moved.v[i] = s.v[i] + dt * rate.v[i];
  }
  return moved;
}

State Rate(const State& s) { return {s.v, Acceleration(s)}; }

// Integrates by the Runge-Kutta method of fourth order.
State Propagated(State s, double span_s) {
  const int steps = std::max(1, static_cast<int>(std::ceil(std::abs(span_s) / kLongestStep_s)));
  const double dt = span_s / steps;
  for (int i = 0; i < steps; ++i) {
    const State k1 = Rate(s);
    const State k2 = Rate(Moved(s, k1, 0.5 * dt));
    const State k3 = Rate(Moved(s, k2, 0.5 * dt));
    const State k4 = Rate(Moved(s, k3, dt));
    s = Moved(Moved(Moved(Moved(s, k1, dt / 6.0), k2, dt / 3.0), k3, dt / 3.0), k4, dt / 6.0);
  }
  return s;
}

struct Basis {
  std::array<double, kHighestDegree + 1> value;
  std::array<double, kHighestDegree + 1> slope;  // per unit of u
};

Basis Chebyshev(double u) {
  Basis basis{{1.0, u}, {0.0, 1.0}};
  for (std::size_t k = 2; k <= kHighestDegree; ++k) {
    basis.value[k] = 2.0 * u * basis.value[k - 1] - basis.value[k - 2];
    basis.slope[k] = 2.0 * basis.value[k - 1] + 2.0 * u * basis.slope[k - 1] - basis.slope[k - 2];
  }
  return basis;
}

using Coefficients = std::array<Vector, kHighestDegree + 1>;

// Solves a symmetric, positive definite n x n system in place by Cholesky's method. Returns false
// if it is not positive definite.
bool Solve(std::array<std::array<double, kHighestDegree + 1>, kHighestDegree + 1> a, std::size_t n,
           Coefficients& right) {
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = 0; j <= i; ++j) {
      double sum = a[i][j];
      for (std::size_t k = 0; k < j; ++k) sum -= a[i][k] * a[j][k];
      if (i != j) {
        a[i][j] = sum / a[j][j];
      } else if (sum > 0.0) {
        a[i][i] = std::sqrt(sum);
      } else {
        return false;
      }
    }
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (std::size_t i = 0; i < n; ++i) {
      for (std::size_t k = 0; k < i; ++k) right[i][axis] -= a[i][k] * right[k][axis];
      right[i][axis] /= a[i][i];
    }
    for (std::size_t i = n; i-- > 0;) {
      for (std::size_t k = i + 1; k < n; ++k) right[i][axis] -= a[k][i] * right[k][axis];
      right[i][axis] /= a[i][i];
    }
  }
  return true;
}

class Fitter {
 public:
  explicit Fitter(const std::vector<StateVector>& orbit) : orbit_(orbit) {
    const UtcTime first = orbit.front().time;
    half_span_s_ = 0.5 * SecondsBetween(first, orbit.back().time);
    middle_ = Shifted(first, half_span_s_);
    for (const StateVector& vector : orbit) {
      times_s_.push_back(SecondsBetween(middle_, vector.time));
      basis_.push_back(Chebyshev(times_s_.back() / half_span_s_));
    }
  }

  // Moves the arc until the straight line that is fitted to the remaining differences is zero.
  // Returns false if this does not converge.
  bool FindArc() {
    const auto nearest = static_cast<std::size_t>(
        std::ranges::min_element(times_s_, {}, [](double t) { return std::abs(t); }) -
        times_s_.begin());
    start_ =
        Propagated({orbit_[nearest].position_m, orbit_[nearest].velocity_m_s}, -times_s_[nearest]);
    constexpr int kRounds = 10;
    constexpr double kRest_m = 1e-6;
    for (int round = 0; round < kRounds; ++round) {
      FollowArc();
      if (!Fit(1, true)) return false;
      double moved_m = 0.0;
      for (std::size_t i = 0; i < 3; ++i) {
        start_.r[i] += coefficients_[0][i];
        start_.v[i] += coefficients_[1][i] / half_span_s_;
        moved_m = std::max(moved_m, std::abs(coefficients_[0][i]) + std::abs(coefficients_[1][i]));
      }
      if (!std::isfinite(moved_m)) return false;
      if (moved_m < kRest_m) break;
    }
    FollowArc();
    return true;
  }

  // Fits a polynomial of `degree` to the differences from the arc. The weights come from the
  // scatter. At first only the positions count, or else only the velocities.
  bool Fit(int degree, bool trusts_positions) {
    degree_ = degree;
    position_m_ = trusts_positions ? kLeastPosition_m : kMostPosition_m;
    velocity_m_s_ = trusts_positions ? kMostVelocity_m_s : kLeastVelocity_m_s;
    for (int round = 0; round < kWeightRounds; ++round) {
      if (!FitWeighted()) return false;
      UpdateScatter();
    }
    return std::isfinite(position_m_) && std::isfinite(velocity_m_s_);
  }

  // Returns Schwarz's criterion, which is smallest for the best degree.
  [[nodiscard]] double Criterion() const {
    const double n = 3.0 * static_cast<double>(times_s_.size());
    return 2.0 * n * (std::log(position_m_) + std::log(velocity_m_s_)) +
           3.0 * (degree_ + 1) * std::log(2.0 * n);
  }

  [[nodiscard]] OrbitFit Result() const {
    OrbitFit fit{position_m_, velocity_m_s_, 0.0, degree_, orbit_};
    double sum_r = 0.0, sum_v = 0.0;
    for (std::size_t j = 0; j < orbit_.size(); ++j) {
      const auto [dr, dv] = Correction(j);
      double r2 = 0.0, v2 = 0.0;
      for (std::size_t i = 0; i < 3; ++i) {
        fit.smoothed[j].position_m[i] = arc_[j].r[i] + dr[i];
        fit.smoothed[j].velocity_m_s[i] = arc_[j].v[i] + dv[i];
        r2 += std::pow(fit.smoothed[j].position_m[i] - orbit_[j].position_m[i], 2);
        v2 += std::pow(fit.smoothed[j].velocity_m_s[i] - orbit_[j].velocity_m_s[i], 2);
      }
      sum_r += r2;
      sum_v += v2;
      fit.largest_misfit_m = std::max(fit.largest_misfit_m, std::sqrt(r2));
    }
    const auto count = static_cast<double>(orbit_.size());
    fit.position_misfit_m = std::sqrt(sum_r / count);
    fit.velocity_misfit_m_s = std::sqrt(sum_v / count);
    return fit;
  }

 private:
  void FollowArc() {
    arc_.clear();
    State state = start_;
    double t = 0.0;
    for (const double time_s : times_s_) {
      state = Propagated(state, time_s - t);
      t = time_s;
      arc_.push_back(state);
    }
  }

  // Returns the polynomial and its slope at epoch j.
  [[nodiscard]] State Correction(std::size_t j) const {
    State sum;
    for (std::size_t k = 0; k <= static_cast<std::size_t>(degree_); ++k) {
      for (std::size_t i = 0; i < 3; ++i) {
        sum.r[i] += coefficients_[k][i] * basis_[j].value[k];
        sum.v[i] += coefficients_[k][i] * basis_[j].slope[k] / half_span_s_;
      }
    }
    return sum;
  }

  bool FitWeighted() {
    const auto n = static_cast<std::size_t>(degree_) + 1;
    const double weight_r = 1.0 / (position_m_ * position_m_);
    const double weight_v = 1.0 / (velocity_m_s_ * velocity_m_s_);
    std::array<std::array<double, kHighestDegree + 1>, kHighestDegree + 1> normal{};
    coefficients_ = {};
    for (std::size_t j = 0; j < times_s_.size(); ++j) {
      for (std::size_t k = 0; k < n; ++k) {
        const double value = weight_r * basis_[j].value[k];
        const double slope = weight_v * basis_[j].slope[k] / half_span_s_;
        for (std::size_t l = 0; l <= k; ++l) {
          normal[k][l] += value * basis_[j].value[l] + slope * basis_[j].slope[l] / half_span_s_;
        }
        for (std::size_t i = 0; i < 3; ++i) {
          coefficients_[k][i] += value * (orbit_[j].position_m[i] - arc_[j].r[i]) +
                                 slope * (orbit_[j].velocity_m_s[i] - arc_[j].v[i]);
        }
      }
    }
    return Solve(normal, n, coefficients_);
  }

  void UpdateScatter() {
    double sum_r = 0.0, sum_v = 0.0;
    for (std::size_t j = 0; j < times_s_.size(); ++j) {
      const State correction = Correction(j);
      for (std::size_t i = 0; i < 3; ++i) {
        sum_r += std::pow(orbit_[j].position_m[i] - arc_[j].r[i] - correction.r[i], 2);
        sum_v += std::pow(orbit_[j].velocity_m_s[i] - arc_[j].v[i] - correction.v[i], 2);
      }
    }
    const auto n = static_cast<double>(times_s_.size());
    const double freedom = std::max(0.5, 1.0 - (degree_ + 1) / (2.0 * n));
    position_m_ = std::max(kLeastPosition_m, std::sqrt(sum_r / (3.0 * n * freedom)));
    velocity_m_s_ = std::max(kLeastVelocity_m_s, std::sqrt(sum_v / (3.0 * n * freedom)));
  }

  const std::vector<StateVector>& orbit_;
  UtcTime middle_;
  double half_span_s_ = 0.0;
  std::vector<double> times_s_;
  std::vector<Basis> basis_;
  State start_;             // state of the arc at the middle epoch
  std::vector<State> arc_;  // states of the arc at the epochs
  int degree_ = 1;
  Coefficients coefficients_{};
  double position_m_ = 1.0;  // scatter of one coordinate
  double velocity_m_s_ = 1.0;
};

}  // namespace

std::optional<OrbitFit> FitOrbit(const std::vector<StateVector>& orbit) {
  constexpr std::size_t kFewest = 3;
  if (orbit.size() < kFewest ||
      SecondsBetween(orbit.front().time, orbit.back().time) > kLongestFit_s) {
    return {};
  }
  Fitter fitter(orbit);
  if (!fitter.FindArc()) return {};
  // The degree is at most half the number of vectors, so that the polynomial does not follow the
  // noise.
  const int highest = std::clamp(static_cast<int>(orbit.size() / 2), 1, kHighestDegree);
  std::optional<OrbitFit> best;
  double least = std::numeric_limits<double>::infinity();
  for (int degree = 1; degree <= highest; ++degree) {
    for (const bool trusts_positions : {true, false}) {
      if (!fitter.Fit(degree, trusts_positions) || !(fitter.Criterion() < least)) continue;
      least = fitter.Criterion();
      best = fitter.Result();
    }
  }
  return best;
}

}  // namespace quellmark::product
