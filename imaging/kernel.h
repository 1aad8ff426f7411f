// The arithmetic of many points at once, compiled once for each instruction set.
//
// The sources that are compiled for more than the baseline include this header and constants, and
// nothing else. The linker keeps one copy of an inline function that several sources share, and
// that copy could contain instructions that the processor lacks. So this header has plain arrays
// and no functions.
#pragma once

namespace quellmark::imaging {

/// The number of points in one batch, a multiple of the length of every vector.
inline constexpr int kLanes = 32;

/// Sensor states, earth-fixed [m, m/s, m/s^2].
struct LaneStates {
  alignas(64) double px[kLanes], py[kLanes], pz[kLanes];
  alignas(64) double vx[kLanes], vy[kLanes], vz[kLanes];
  alignas(64) double ax[kLanes], ay[kLanes], az[kLanes];
};

/// The times of a batch and their Newton polynomials, in the layout of
/// orbit/interpolation/piece_table.h. row[i] is the index of the first number of the piece that
/// serves x[i].
struct LaneTimes {
  alignas(64) double x[kLanes];
  alignas(64) long row[kLanes];
  const double* numbers;
  int nodes, terms;
  int terms_per_node;  ///< 1 or 2
};

/// The zero-Doppler plane at each sensor S: the unit vectors `d`, towards the earth, and `n`,
/// across to the look side, are perpendicular to the velocity and to each other; n is level (n . S
/// = 0).
struct LaneFrames {
  alignas(64) double sx[kLanes], sy[kLanes], sz[kLanes];
  alignas(64) double dx[kLanes], dy[kLanes], dz[kLanes];
  alignas(64) double nx[kLanes], ny[kLanes], nz[kLanes];
  alignas(64) double radius[kLanes];    ///< |S|, rounded
  alignas(64) double rest[kLanes];      ///< S . S - radius^2
  alignas(64) double sigma[kLanes];     ///< S . d
  alignas(64) double fall_dot[kLanes];  ///< -S . d / |S|
};

/// The points of one batch and their intermediate values. G = S + p d + w n, w > 0.
struct LanePoints {
  alignas(64) double tau[kLanes];     ///< in: two-way range time [s]
  alignas(64) double height[kLanes];  ///< in: of the points [m]
  alignas(64) double range[kLanes];   ///< slant range [m]
  alignas(64) double raise[kLanes];   ///< raise of the ellipsoid that touches the point's surface
  alignas(64) double k[kLanes];       ///< (A / B)^2 - 1 for its semi-axes A, B
  alignas(64) double slant[kLanes];   ///< the normal at G is along (x, y, z (1 + slant))
  alignas(64) double p[kLanes];
  alignas(64) double w[kLanes];
  alignas(64) double unsettled[kLanes];                ///< 0 if the iteration converged, else 1
  alignas(64) double x[kLanes], y[kLanes], z[kLanes];  ///< G
  alignas(64) double longitude[kLanes];                ///< (-180, 180] [deg]
  alignas(64) double latitude[kLanes];
  alignas(64) double incidence[kLanes];
  alignas(64) double facing[kLanes];  ///< normal . (S - G) > 0: the sensor sees the point
  alignas(64) double heading[kLanes];
  alignas(64) double look[kLanes];
};

/// Ground points and their image positions.
struct LaneTargets {
  alignas(64) double longitude[kLanes], latitude[kLanes], height[kLanes];  ///< in [deg, m]
  alignas(64) double x[kLanes], y[kLanes], z[kLanes];
  alignas(64) double ux[kLanes], uy[kLanes], uz[kLanes];  ///< the ellipsoid's normal
  alignas(64) double time[kLanes];                        ///< current estimate of zero Doppler [s]
  alignas(64) double step[kLanes];                        ///< the last change of `time` [s]
  alignas(64) double range[kLanes];                       ///< for `time` before the last step [m]
  alignas(64) double side[kLanes];                        ///< positive on the look side
  alignas(64) double facing[kLanes];  ///< positive if the sensor is above the point's horizon
};

/// The sensor at the middle of the image, for the first estimates of times.
struct MiddleState {
  double px, py, pz, vx, vy, vz, ax, ay, az;
  double time_s;
};

inline constexpr double kTimeStepLimit_s = 1e-7;  ///< quadratic convergence then leaves 1e-15 s

enum KernelWant : unsigned {
  kWantLongitude = 1U << 0U,
  kWantLatitude = 1U << 1U,
  kWantIncidence = 1U << 2U,
  kWantHeading = 1U << 3U,
  kWantLook = 1U << 4U,
};

/// The routines of one instruction set. With `shared` the frame in lane 0 is used for all lanes.
struct Kernel {
  /// Computes states from polynomials. With `one_row` all rows are the same.
  void (*make_states)(const LaneTimes& times, bool one_row, LaneStates& states);
  /// Computes frames from states. `side` is +1 for right, -1 for left.
  void (*make_frames)(const LaneStates& states, double side, LaneFrames& frames);
  /// Sets the sample of lane i to first + (in_line + i) step.
  void (*count_samples)(double in_line, double first, double step, double* sample);
  /// Computes the range times tau = first_s + sample / rate_hz. Returns whether all of them are
  /// finite and all heights are finite and above `lowest_m`.
  bool (*place_points)(const double* sample, double first_s, double rate_hz, double lowest_m,
                       LanePoints& points);
  /// Finds p and w for range time and height above an ellipsoid with the semi-axes a and b, for
  /// geodetic heights or on the raised ellipsoid.
  void (*solve)(const LaneFrames& frames, bool shared, double a, double b, bool geodetic,
                LanePoints& points);
  /// The same for the range and raise of `from`, which belong to a sensor nearby. The iteration
  /// starts from its solution.
  void (*solve_near)(const LaneFrames& frames, bool shared, double a, const LanePoints& from,
                     LanePoints& points);
  /// Computes x, y, z and `facing`, and the requested angles.
  void (*finish)(const LaneFrames& frames, bool shared, const LaneStates& states, unsigned want,
                 LanePoints& points);
  /// Computes x, y, z, the normal and the first estimate of the time.
  void (*place_targets)(const MiddleState& middle, double a, double b, LaneTargets& targets);
  /// Makes one step towards zero Doppler from the states at `time`.
  void (*step_time)(const LaneStates& states, double side, LaneTargets& targets);
};

extern const Kernel kBaselineKernel;
#ifdef QM_KERNELS_X86
extern const Kernel kAvx2Kernel;
extern const Kernel kAvx512Kernel;
#endif

}  // namespace quellmark::imaging
