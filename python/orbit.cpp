// Binds orbits and DEMs.
#include <array>
#include <cmath>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "python/bind.h"
#include <quellmark/dem.h>
#include <quellmark/orbit.h>

namespace quellmark::python {
namespace {

constexpr py::ssize_t kComponents = 3;

// Returns one part of all states as an (n, 3) array that shares their memory.
py::array PartOf(const std::vector<OrbitState>& states, Vector3 OrbitState::*part,
                 const py::capsule& owner) {
  static const OrbitState none;
  const OrbitState& first = states.empty() ? none : states.front();
  return py::array_t<double>(
      {static_cast<py::ssize_t>(states.size()), kComponents},
      {static_cast<py::ssize_t>(sizeof(OrbitState)), static_cast<py::ssize_t>(sizeof(double))},
      (first.*part).data(), owner);
}

py::tuple StatesAt(const Orbit& orbit, const Flat<double>& times_s, Outside outside) {
  auto states = std::make_unique<std::vector<OrbitState>>(SpanOf(times_s).size());
  const std::span<const double> times = SpanOf(times_s);
  const std::span<OrbitState> all = *states;
  InBlocks(times.size(), [&](std::size_t first, std::size_t count) {
    orbit.StatesAt(times.subspan(first, count), all.subspan(first, count), outside);
  });
  const std::vector<OrbitState>& kept = *states;
  const py::capsule owner(states.get(), [](void* pointer) {
    const std::unique_ptr<std::vector<OrbitState>> owned(
        static_cast<std::vector<OrbitState>*>(pointer));
  });
  static_cast<void>(states.release());
  return py::make_tuple(PartOf(kept, &OrbitState::position_m, owner),
                        PartOf(kept, &OrbitState::velocity_ms, owner),
                        PartOf(kept, &OrbitState::acceleration_ms2, owner));
}

// `positions_m` and `velocities_ms` hold three numbers for each time.
Orbit MakeOrbit(const Flat<double>& times_s, const Flat<double>& positions_m,
                const Flat<double>& velocities_ms, const std::string& interpolation,
                const std::string& reference_utc) {
  std::vector<StateVector> states(SpanOf(times_s).size());
  for (std::size_t i = 0; i < states.size(); ++i) {
    states[i].time_s = SpanOf(times_s)[i];
    for (std::size_t k = 0; k < 3; ++k) {
      states[i].position_m[k] = SpanOf(positions_m)[3 * i + k];
      states[i].velocity_ms[k] = SpanOf(velocities_ms)[3 * i + k];
    }
  }
  const py::gil_scoped_release without_lock;
  return Orbit::FromStateVectors(states, interpolation, reference_utc);
}

Flat<double> TimesOf(const Orbit& orbit, const Flat<std::int64_t>& nanoseconds) {
  Flat<double> times(nanoseconds.size());
  for (py::ssize_t i = 0; i < times.size(); ++i) {
    times.mutable_data()[i] = orbit.TimeOfUnixNanoseconds(nanoseconds.data()[i]);
  }
  return times;
}

// Converts times to nanoseconds since 1970 in two steps. The first one ignores leap seconds after
// the reference time. The second one corrects the result by the difference that remains.
Flat<std::int64_t> NanosecondsOf(const Orbit& orbit, const Flat<double>& times_s) {
  constexpr double kNanoseconds = 1e9;
  constexpr double kFarthest_s = 9.2e9;  // from 1970; 64 bits hold 9.22e9 s
  const std::int64_t reference = UnixNanosecondsFromUtc(orbit.ReferenceTime());
  Flat<std::int64_t> nanoseconds(times_s.size());
  for (py::ssize_t i = 0; i < times_s.size(); ++i) {
    const double time_s = times_s.data()[i];
    const double since_1970_s = static_cast<double>(reference) / kNanoseconds + time_s;
    if (!(std::fabs(time_s) < kFarthest_s && std::fabs(since_1970_s) < kFarthest_s)) {
      throw py::value_error("a time is not finite or beyond the years that datetime64[ns] holds");
    }
    std::int64_t value = reference + std::llround(time_s * kNanoseconds);
    value += std::llround(std::round(time_s - orbit.TimeOfUnixNanoseconds(value)) * kNanoseconds);
    nanoseconds.mutable_data()[i] = value;
  }
  return nanoseconds;
}

py::tuple HeightsAt(const Dem& dem, const Flat<double>& longitudes, const Flat<double>& latitudes) {
  Flat<double> heights(longitudes.size());
  Flat<std::uint8_t> status(longitudes.size());
  const std::span<double> heights_m(heights.mutable_data(), SpanOf(longitudes).size());
  // An enumeration of one byte may be stored in an array of bytes.
  const std::span<HeightStatus> what(reinterpret_cast<HeightStatus*>(status.mutable_data()),
                                     heights_m.size());
  InBlocks(heights_m.size(), [&](std::size_t first, std::size_t count) {
    dem.HeightsAt(SpanOf(longitudes).subspan(first, count), SpanOf(latitudes).subspan(first, count),
                  heights_m.subspan(first, count), what.subspan(first, count));
  });
  return py::make_tuple(heights, status);
}

py::list TilesOf(const Dem& dem) {
  py::list tiles;
  for (const DemTile& tile : dem.Tiles()) {
    tiles.append(py::make_tuple(TextOf(tile.path),
                                py::make_tuple(tile.box.west_deg, tile.box.south_deg,
                                               tile.box.east_deg, tile.box.north_deg),
                                tile.columns, tile.rows));
  }
  return tiles;
}

}  // namespace

void BindOrbit(py::module_& module) {
  py::enum_<TimeKind>(module, "TimeKind")
      .value("SECONDS", TimeKind::kSeconds)
      .value("MISSION_ELAPSED", TimeKind::kMissionElapsed)
      .value("UTC", TimeKind::kUtc);
  py::class_<Orbit>(module, "Orbit")
      .def(py::init(&MakeOrbit))
      .def_static("open", &Orbit::Open, py::call_guard<py::gil_scoped_release>())
      .def("states",
           [](const Orbit& orbit, const Flat<double>& times, int outside) {
             return StatesAt(orbit, times, static_cast<Outside>(outside));
           })
      .def("coverage",
           [](const Orbit& orbit) {
             return py::make_tuple(orbit.Coverage().first_s, orbit.Coverage().last_s);
           })
      .def("interpolation", [](const Orbit& orbit) { return TextOf(orbit.Interpolation()); })
      .def("reference_time", [](const Orbit& orbit) { return TextOf(orbit.ReferenceTime()); })
      .def("kind", &Orbit::Kind)
      .def("time_of",
           [](const Orbit& orbit, const py::str& text) { return orbit.TimeOf(BytesOf(text)); })
      .def("text_of",
           [](const Orbit& orbit, double time_s) { return TextOf(orbit.TextOf(time_s)); })
      .def("times_of_nanoseconds", &TimesOf)
      .def("nanoseconds_of_times", &NanosecondsOf);
}

void BindDem(py::module_& module) {
  py::class_<Dem>(module, "Dem")
      .def_static("open", &Dem::Open, py::call_guard<py::gil_scoped_release>())
      .def("heights", &HeightsAt)
      .def("path", [](const Dem& dem) { return TextOf(dem.Path()); })
      .def("tiles", &TilesOf)
      .def("spacing",
           [](const Dem& dem) {
             return py::make_tuple(dem.LongitudeSpacing(), dem.LatitudeSpacing());
           })
      .def("void_value", [](const Dem& dem) -> py::object {
        return dem.VoidValue() ? py::object(py::float_(*dem.VoidValue())) : py::none();
      });
}

}  // namespace quellmark::python
