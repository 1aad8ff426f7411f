// The arithmetic of many points at once, compiled once for each instruction set.
//
// The sources that are compiled for more than the baseline include this header and constants, and
// nothing else: an inline function that two of them share could be linked in the form that the
// processor lacks. So there are plain arrays here, and no functions.
#pragma once

namespace quellmark::imaging {

/// Points of one batch. A multiple of every vector's length.
inline constexpr int kLanes = 32;

/// Sensor states, earth-fixed [m, m/s, m/s^2].
struct LaneStates {
  alignas(64) double px[kLanes], py[kLanes], pz[kLanes];
  alignas(64) double vx[kLanes], vy[kLanes], vz[kLanes];
  alignas(64) double ax[kLanes], ay[kLanes], az[kLanes];
};

/// Times of a batch on Newton polynomials, and where these stand (orbit/interpolation/piece_table.h
/// says how): row[i] is the index of the first number of the piece that answers for x[i].
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

/// Points of one batch on their way. G = S + p d + w n, w > 0.
struct LanePoints {
  alignas(64) double tau[kLanes];     ///< in: two-way range time [s]
  alignas(64) double height[kLanes];  ///< in: of the points [m]
  alignas(64) double range[kLanes];   ///< slant range [m]
  alignas(64) double raise[kLanes];   ///< of the raised ellipsoid that touches the point's surface
  alignas(64) double k[kLanes];       ///< (A / B)^2 - 1 of its semi-axes
  alignas(64) double slant[kLanes];   ///< the normal at G is along (x, y, z (1 + slant))
  alignas(64) double p[kLanes];
  alignas(64) double w[kLanes];
  alignas(64) double unsettled[kLanes];  ///< 0 where the iteration ended at the point, else 1
  alignas(64) double x[kLanes], y[kLanes], z[kLanes];  ///< G
  alignas(64) double longitude[kLanes];                ///< (-180, 180] [deg]
  alignas(64) double latitude[kLanes];
  alignas(64) double incidence[kLanes];
  alignas(64) double facing[kLanes];  ///< normal . (S - G) > 0: the sensor sees the point
  alignas(64) double heading[kLanes];
  alignas(64) double look[kLanes];
};

/// Ground points and their way into the image.
struct LaneTargets {
  alignas(64) double longitude[kLanes], latitude[kLanes], height[kLanes];  ///< in [deg, m]
  alignas(64) double x[kLanes], y[kLanes], z[kLanes];
  alignas(64) double ux[kLanes], uy[kLanes], uz[kLanes];  ///< the ellipsoid's normal
  alignas(64) double time[kLanes];                        ///< of zero Doppler, as far as known [s]
  alignas(64) double step[kLanes];                        ///< by which `time` was moved last [s]
  alignas(64) double range[kLanes];   ///< from the sensor at `time` before the last step [m]
  alignas(64) double side[kLanes];    ///< > 0: on the look side
  alignas(64) double facing[kLanes];  ///< > 0: the sensor is above the point's horizon
};

/// The sensor in the middle of the image, from which times are guessed.
struct MiddleState {
  double px, py, pz, vx, vy, vz, ax, ay, az;
  double time_s;
};

inline constexpr double kTimeStepLimit_s = 1e-7;  ///< converges quadratically: 1e-15 s are left

enum KernelWant : unsigned {
  kWantLongitude = 1U << 0U,
  kWantLatitude = 1U << 1U,
  kWantIncidence = 1U << 2U,
  kWantHeading = 1U << 3U,
  kWantLook = 1U << 4U,
};

/// The routines of one instruction set. Those with `shared` take the frame in lane 0 for all.
struct Kernel {
  /// States from polynomials; `one_row`: all rows are the same.
  void (*make_states)(const LaneTimes& times, bool one_row, LaneStates& states);
  /// Frames from states; `side` is +1 right, -1 left.
  void (*make_frames)(const LaneStates& states, double side, LaneFrames& frames);
  /// Samples first + (in_line + i) step of lanes i.
  void (*count_samples)(double in_line, double first, double step, double* sample);
  /// Range times tau = first_s + sample / rate_hz. Returns whether each of them is finite, and each
  /// height, which is above `lowest_m` too.
  bool (*place_points)(const double* sample, double first_s, double rate_hz, double lowest_m,
                       LanePoints& points);
  /// Finds p and w for range time and height on an ellipsoid of semi-axes a and b, at geodetic
  /// heights or on the raised ellipsoid.
  void (*solve)(const LaneFrames& frames, bool shared, double a, double b, bool geodetic,
                LanePoints& points);
  /// The same for the range and raise of `from`, nearby: the start is its solution.
  void (*solve_near)(const LaneFrames& frames, bool shared, double a, const LanePoints& from,
                     LanePoints& points);
  /// x, y, z and `facing`, and what is wanted of the angles.
  void (*finish)(const LaneFrames& frames, bool shared, const LaneStates& states, unsigned want,
                 LanePoints& points);
  /// x, y, z, the normal and the first guess of the time.
  void (*place_targets)(const MiddleState& middle, double a, double b, LaneTargets& targets);
  /// One step towards zero Doppler from the states at `time`.
  void (*step_time)(const LaneStates& states, double side, LaneTargets& targets);
};

extern const Kernel kBaselineKernel;
#ifdef QM_KERNELS_X86
extern const Kernel kAvx2Kernel;
extern const Kernel kAvx512Kernel;
#endif

}  // namespace quellmark::imaging
