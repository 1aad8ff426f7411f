// The whole step in one plain source, as a floor for the process. It reads the scene pool, locates
// seven positions, logs as many bytes, and updates both pools and the status files with the same
// flushes. It shares no code with the product, checks nothing, and knows one kind of scene: UTC
// epochs in ascending order, positions and velocities, "key TYPE value" entries.
// usage: process_floor LOG_POOL SCENE_POOL LOG
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Vector = std::array<double, 3>;

constexpr double kLight = 299792458.0;
constexpr double kA = 6378137.0;
constexpr double kB = 6356752.315;
constexpr double kDegrees = 57.29577951308232;

double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
double Norm(const Vector& a) { return std::sqrt(Dot(a, a)); }
Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Vector Sum(const Vector& a, double f, const Vector& b) {
  return {a[0] + f * b[0], a[1] + f * b[1], a[2] + f * b[2]};
}

std::string ReadWhole(const char* path) {
  const int fd = ::open(path, O_RDONLY);
  struct stat status {};
  if (fd < 0 || ::fstat(fd, &status) != 0) return {};
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  if (::read(fd, text.data(), text.size()) < 0) text.clear();
  ::close(fd);
  return text;
}

// The position of the type after the key at the start of a line; npos if the key is missing.
std::size_t Find(const std::string& pool, std::string_view key) {
  for (std::size_t at = pool.find(key); at != std::string::npos; at = pool.find(key, at + 1)) {
    const bool at_start = at == 0 || pool[at - 1] == '\n';
    if (at_start && pool[at + key.size()] == ' ') return at + key.size();
  }
  return std::string::npos;
}

std::string_view Value(const std::string& pool, std::string_view key) {
  const std::size_t type = pool.find_first_not_of(' ', Find(pool, key));
  const std::size_t value = pool.find_first_not_of(' ', pool.find(' ', type));
  return std::string_view(pool).substr(value, pool.find('\n', value) - value);
}

double Number(const std::string& pool, std::string_view key) {
  return std::strtod(Value(pool, key).data(), nullptr);
}

// The seconds of the day in a text like "2022-04-14T10:22:21.123456Z".
double SecondsOfDay(std::string_view text) {
  const char* const clock = text.data() + text.find('T') + 1;
  return std::strtod(clock, nullptr) * 3600 + std::strtod(clock + 3, nullptr) * 60 +
         std::strtod(clock + 6, nullptr);
}

std::vector<double> Numbers(const std::string& pool, std::string_view key) {
  std::vector<double> numbers;
  const char* next = pool.data() + pool.find('{', Find(pool, key)) + 1;
  for (char* end = nullptr;; next = end) {
    const double number = std::strtod(next, &end);
    if (end == next) return numbers;
    numbers.push_back(number);
  }
}

std::vector<double> Epochs(const std::string& pool, std::string_view key, double reference_s) {
  std::vector<double> epochs;
  std::size_t at = pool.find('{', Find(pool, key));
  const std::size_t end = pool.find('}', at);
  while ((at = pool.find('"', at + 1)) < end) {
    const std::size_t close = pool.find('"', at + 1);
    const auto text = std::string_view(pool).substr(at + 1, close - at - 1);
    epochs.push_back(SecondsOfDay(text) - reference_s);
    at = close;
  }
  return epochs;
}

struct Orbit {
  std::vector<double> t;
  std::array<std::vector<double>, 3> x;
  std::array<std::vector<double>, 3> v;
};

struct State {
  Vector x, v, a;
};

// Hermite polynomial through the four nearest state vectors, by divided differences.
State StateAt(const Orbit& orbit, double t) {
  std::size_t first = 0;
  while (first + 4 < orbit.t.size() && orbit.t[first + 2] < t) ++first;
  State state{};
  for (std::size_t k = 0; k < 3; ++k) {
    std::array<double, 8> z;
    std::array<double, 8> d;
    for (std::size_t i = 0; i < 8; ++i) {
      z[i] = orbit.t[first + i / 2];
      d[i] = orbit.x[k][first + i / 2];
    }
    for (std::size_t order = 1; order < 8; ++order) {
      for (std::size_t i = 7; i >= order; --i) {
        const bool twice = order == 1 && i % 2 == 1;
        d[i] = twice ? orbit.v[k][first + i / 2] : (d[i] - d[i - 1]) / (z[i] - z[i - order]);
      }
    }
    double y = d[7];
    double dy = 0;
    double d2y = 0;
    for (std::size_t i = 7; i-- > 0;) {
      d2y = d2y * (t - z[i]) + 2 * dy;
      dy = dy * (t - z[i]) + y;
      y = y * (t - z[i]) + d[i];
    }
    state.x[k] = y;
    state.v[k] = dy;
    state.a[k] = d2y;
  }
  return state;
}

// Newton's method for the point at this range, on the raised ellipsoid, in the zero-Doppler plane.
Vector Locate(const State& s, double range, double side, double height) {
  const Vector out = Cross(s.v, s.x);
  Vector g = Sum(s.x, side * range * 0.6 / Norm(out), out);
  g = Sum({0, 0, 0}, kA / Norm(g), g);
  const double a2 = (kA + height) * (kA + height);
  const double b2 = (kB + height) * (kB + height);
  for (int i = 0; i < 12; ++i) {
    const Vector los = Sum(g, -1, s.x);
    const Vector normal = {2 * g[0] / a2, 2 * g[1] / a2, 2 * g[2] / b2};
    const double f0 = Dot(los, los) - range * range;
    const double f1 = Dot(g, normal) / 2 - 1;
    const double f2 = Dot(los, s.v);
    const Vector twice = {2 * los[0], 2 * los[1], 2 * los[2]};
    const Vector c12 = Cross(normal, s.v);
    const Vector c20 = Cross(s.v, twice);
    const Vector c01 = Cross(twice, normal);
    const double det = Dot(twice, c12);
    const Vector step = Sum(Sum(Sum({0, 0, 0}, f0 / det, c12), f1 / det, c20), f2 / det, c01);
    g = Sum(g, -1, step);
    if (Norm(step) < 1e-6) break;
  }
  return g;
}

struct Point {
  double longitude, latitude, incidence, velocity, b, fm;
};

struct Scene {
  Orbit orbit;
  double t0, r0, prf, rsf, height, frequency, side;
};

Point LocatePoint(const Scene& scene, double sample, double line) {
  constexpr double kStep = 0.01;
  const double t = scene.t0 + line / scene.prf;
  const double range = (scene.r0 + sample / scene.rsf) * kLight / 2;
  const State s = StateAt(scene.orbit, t);
  const Vector g = Locate(s, range, scene.side, scene.height);
  const Vector later = Locate(StateAt(scene.orbit, t + kStep), range, scene.side, scene.height);
  const Vector los = Sum(s.x, -1, g);
  const double p = std::hypot(g[0], g[1]);
  const double e2 = 1 - kB * kB / (kA * kA);
  double latitude = std::atan2(g[2], p * (1 - e2));
  for (int i = 0; i < 4; ++i) {
    const double sine = std::sin(latitude);
    const double n = kA / std::sqrt(1 - e2 * sine * sine);
    latitude = std::atan2(g[2] + e2 * n * sine, p);
  }
  const double longitude = std::atan2(g[1], g[0]);
  const Vector up = {std::cos(latitude) * std::cos(longitude),
                     std::cos(latitude) * std::sin(longitude), std::sin(latitude)};
  const double b = Dot(s.v, s.v) + Dot(los, s.a);
  const Vector ground = Sum(later, -1, g);
  return {longitude * kDegrees,
          latitude * kDegrees,
          std::acos(Dot(los, up) / Norm(los)) * kDegrees,
          Norm(ground) / kStep,
          b,
          2 * scene.frequency * b / (kLight * range)};
}

void WriteWhole(int fd, const std::string& text) {
  if (::write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) std::exit(1);
}

// Writes the new content by way of a copy, with the flushes that keep either file complete.
void Update(const char* path, const std::string& text) {
  const std::string copy_path = std::string(path) + ".copy";
  const int copy = ::open(copy_path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
  WriteWhole(copy, text);
  if (::fsync(copy) != 0) std::exit(1);
  const int directory = ::open(".", O_RDONLY | O_DIRECTORY);
  ::fsync(directory);
  ::close(directory);
  const int pool = ::open(path, O_RDWR | O_CREAT, 0666);
  if (::ftruncate(pool, 0) != 0) std::exit(1);
  WriteWhole(pool, text);
  if (::fsync(pool) != 0) std::exit(1);
  ::close(copy);
  ::close(pool);
  ::unlink(copy_path.c_str());
}

void Status(const char* gone, const char* left, const char* digit) {
  ::unlink(gone);
  const int fd = ::open(".status", O_WRONLY | O_CREAT | O_EXCL, 0666);
  WriteWhole(fd, digit);
  ::close(fd);
  ::rename(".status", left);
}

void SetEntry(std::string& pool, const char* key, const char* type, const char* format,
              double value) {
  std::array<char, 160> entry;
  std::array<char, 64> number;
  std::snprintf(number.data(), number.size(), format, value);
  std::snprintf(entry.data(), entry.size(), "%-32s %-15s %s\n", key, type, number.data());
  const std::size_t found = Find(pool, key);
  if (found == std::string::npos) {
    pool += entry.data();
    pool += "\n";
  } else {
    const std::size_t begin = pool.rfind('\n', found) + 1;
    pool.replace(begin, pool.find('\n', found) + 1 - begin, entry.data());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 1;
  Status("OK.floor", "ERROR.floor", "1");
  std::string pool = ReadWhole(argv[2]);
  const double reference_s = SecondsOfDay(Value(pool, "orbit_reference_time"));
  Scene scene{.orbit = {},
              .t0 = Number(pool, "first_az_time"),
              .r0 = Number(pool, "first_rg_time"),
              .prf = Number(pool, "prf"),
              .rsf = Number(pool, "range_sampling_frequency"),
              .height = Number(pool, "local_height"),
              .frequency = Number(pool, "radar_frequency"),
              .side = Value(pool, "antenna_look_direction").find("right") == 1 ? 1.0 : -1.0};
  scene.orbit.t = Epochs(pool, "orbit_time", reference_s);
  const char* const positions[] = {"orbit_pos_x", "orbit_pos_y", "orbit_pos_z"};
  const char* const velocities[] = {"orbit_vel_x", "orbit_vel_y", "orbit_vel_z"};
  for (std::size_t k = 0; k < 3; ++k) {
    scene.orbit.x[k] = Numbers(pool, positions[k]);
    scene.orbit.v[k] = Numbers(pool, velocities[k]);
  }
  const double samples = Number(pool, "n_samples");
  const double lines = Number(pool, "n_lines");
  const double middle = std::floor(lines / 2);
  const Point at[] = {LocatePoint(scene, std::floor(samples / 2), middle),
                      LocatePoint(scene, 0, 0),
                      LocatePoint(scene, samples - 1, 0),
                      LocatePoint(scene, samples - 1, lines - 1),
                      LocatePoint(scene, 0, lines - 1),
                      LocatePoint(scene, 0, middle),
                      LocatePoint(scene, samples - 1, middle)};

  // One write of as many lines as the program logs by default.
  std::string log;
  for (int i = 0; i < 15; ++i) {
    for (const Point& p : at) {
      std::array<char, 120> line;
      std::snprintf(line.data(), line.size(), "INFO  : floor : %6.2f %6.2f %6.2f %12.5f %12.5f\n",
                    p.longitude, p.latitude, p.incidence, p.velocity, p.fm);
      log += line.data();
    }
  }
  const int log_fd = ::open(argv[3], O_WRONLY | O_CREAT | O_TRUNC, 0666);
  WriteWhole(log_fd, log);

  const char* const places[] = {"center_", "first_near_", "first_far_", "last_far_", "last_near_"};
  for (std::size_t i = 0; i < 5; ++i) {
    const std::string place = places[i];
    SetEntry(pool, (place + (i == 0 ? "longitude" : "lon")).c_str(), "FLT_6", "%.6E",
             at[i].longitude);
    SetEntry(pool, (place + (i == 0 ? "latitude" : "lat")).c_str(), "FLT_6", "%.6E",
             at[i].latitude);
  }
  SetEntry(pool, "inc_angle_center", "FLT_6", "%.6E", at[0].incidence);
  const char* const ranges[] = {"near", "mid", "far"};
  const Point by_range[] = {at[5], at[0], at[6]};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto set = [&](const char* stem, const char* type, const char* format, double value) {
      SetEntry(pool, (std::string(stem) + ranges[i]).c_str(), type, format, value);
    };
    set("inc_angle_", "FLT_6", "%.6E", by_range[i].incidence);
    set("zero_doppler_velocity_", "FLT_15", "%.15E", by_range[i].velocity);
    set("b_param_", "FLT_15", "%.15E", by_range[i].b);
    set("fm_rate_", "FLT_15", "%.15E", by_range[i].fm);
  }
  Update(argv[2], pool);
  Update(argv[1], ReadWhole(argv[1]) + "software_names STR_V 1 1\n {\n \"floor\"\n }\n");
  ::close(log_fd);
  Status("ERROR.floor", "OK.floor", "0");
  return 0;
}
