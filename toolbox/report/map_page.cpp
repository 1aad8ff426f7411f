#include "toolbox/report/map_page.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>

#include "toolbox/report/coastline.h"
#include "toolbox/report/map_projection.h"
#include "toolbox/report/point_table.h"

namespace quellmark::report {

namespace {

constexpr std::array<const char*, 8> kColours = {"#c8501e", "#2f6fb0", "#3c9a5f", "#8a4fbf",
                                                 "#b8860b", "#c0307a", "#00808a", "#5a5a5a"};
constexpr double kWidth_px = 960.0;
constexpr double kHeight_px = 640.0;

const char* ColourOf(std::size_t scene) { return kColours.at(scene % kColours.size()); }

// The part of the map that is visible at first, in map kilometres.
struct View {
  double x_km = 0.0;
  double y_km = 0.0;
  double width_km = 0.0;
  double height_km = 0.0;

  // The size of a pixel of the picture.
  [[nodiscard]] double Pixel_km() const { return width_km / kWidth_px; }
  [[nodiscard]] bool Contains(const MapPoint& point) const {
    return point.x_km >= x_km && point.x_km <= x_km + width_km && point.y_km >= y_km &&
           point.y_km <= y_km + height_km;
  }
};

std::string Number(double value, int decimals = 3) { return FixedText(value, decimals); }

void AddPoint(std::string& path, const MapPoint& point, bool is_first) {
  path += (is_first ? 'M' : 'L') + Number(point.x_km) + ' ' + Number(point.y_km);
}

std::string PathOf(const std::vector<MapPoint>& points, bool is_closed) {
  std::string path;
  for (const MapPoint& point : points) AddPoint(path, point, path.empty());
  return is_closed ? path + 'z' : path;
}

// --- the world ---

// Shores beyond this radius follow a rim, because the projection is torn at the antipode of the
// centre.
double RimRadius_km() { return MapProjection::HemisphereRadius_km() * 1.15; }

double AzimuthOf(const MapPoint& point) { return std::atan2(point.y_km, point.x_km); }
MapPoint OnRim(double azimuth) {
  return {RimRadius_km() * std::cos(azimuth), RimRadius_km() * std::sin(azimuth)};
}

// Returns a shore on the map, limited by the rim.
std::vector<MapPoint> ShoreOf(const Ring& ring, const MapProjection& projection) {
  std::vector<MapPoint> shore;
  bool was_beyond = false;
  for (const LonLat& place : ring) {
    MapPoint point = projection.Project(place);
    const bool is_beyond = std::hypot(point.x_km, point.y_km) > RimRadius_km();
    if (is_beyond) {
      const double azimuth = AzimuthOf(point);
      if (was_beyond) {
        // The rim is followed in small steps, because a chord would cut through the map.
        constexpr double kStep = 0.1;
        const double before = AzimuthOf(shore.back());
        const double turn = std::remainder(azimuth - before, 2.0 * std::numbers::pi);
        const auto steps = static_cast<int>(std::abs(turn) / kStep);
        for (int i = 1; i <= steps; ++i) {
          shore.push_back(OnRim(before + turn * i / (steps + 1.0)));
        }
      }
      point = OnRim(azimuth);
    }
    was_beyond = is_beyond;
    shore.push_back(point);
  }
  return shore;
}

double AreaOf(const std::vector<MapPoint>& ring) {
  double area = 0.0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const MapPoint& next = ring[(i + 1) % ring.size()];
    area += ring[i].x_km * next.y_km - next.x_km * ring[i].y_km;
  }
  return area / 2.0;
}

// Returns all land as one path for the even-odd rule.
std::string LandPath(const MapProjection& projection) {
  std::string path;
  double land_area = 0.0;
  for (const Ring& ring : Coastlines()) {
    const std::vector<MapPoint> shore = ShoreOf(ring, projection);
    land_area += AreaOf(shore);  // positive with land to the right, as y grows downwards
    const bool is_visible = std::any_of(shore.begin(), shore.end(), [](const MapPoint& point) {
      return std::hypot(point.x_km, point.y_km) < RimRadius_km() * 0.999;
    });
    // Of the rings beyond the rim, only those that surround the map matter.
    if (!is_visible && std::abs(AreaOf(shore)) < RimRadius_km() * RimRadius_km()) continue;
    path += PathOf(shore, true);
  }
  // If there is land at the antipode, its ring surrounds the map, and the land is outside that
  // ring.
  if (land_area < 0.0) {
    std::vector<MapPoint> rim(72);
    for (std::size_t i = 0; i < rim.size(); ++i) {
      rim[i] =
          OnRim(2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(rim.size()));
    }
    path += PathOf(rim, true);
  }
  return path;
}

// Returns the part of a graticule line in the hemisphere around the centre.
template <class PlaceAt>
std::string GraticuleLine(const MapProjection& projection, PlaceAt place_at) {
  constexpr int kSteps = 180;
  std::string path;
  bool is_open = false;
  for (int i = 0; i <= kSteps; ++i) {
    const LonLat place = place_at(static_cast<double>(i) / kSteps);
    if (!projection.IsInHemisphere(place)) {
      is_open = false;
      continue;
    }
    AddPoint(path, projection.Project(place), !is_open);
    is_open = true;
  }
  return path;
}

std::string WorldGraticule(const MapProjection& projection) {
  constexpr int kStep_deg = 10;
  std::string path;
  for (int longitude = -180; longitude < 180; longitude += kStep_deg) {
    path += GraticuleLine(projection, [longitude](double part) {
      return LonLat{static_cast<double>(longitude), -80.0 + 160.0 * part};
    });
  }
  for (int latitude = -80; latitude <= 80; latitude += kStep_deg) {
    path += GraticuleLine(projection, [latitude](double part) {
      return LonLat{-180.0 + 360.0 * part, static_cast<double>(latitude)};
    });
  }
  return path;
}

// --- the finer graticule around the scenes ---

struct Extent {
  double west_deg = 0.0;  // longitudes are relative to the centre
  double east_deg = 0.0;
  double south_deg = 0.0;
  double north_deg = 0.0;
};

Extent ExtentOf(const View& view, const LonLat& centre) {
  const double half_deg = std::hypot(view.width_km, view.height_km) / 2.0 / 111.0;
  Extent extent;
  extent.south_deg = std::max(-90.0, centre.latitude_deg - half_deg);
  extent.north_deg = std::min(90.0, centre.latitude_deg + half_deg);
  const double steepest = std::max(std::abs(extent.south_deg), std::abs(extent.north_deg));
  const double squeeze = std::cos(steepest * std::numbers::pi / 180.0);
  const double half_longitude = squeeze <= half_deg / 180.0 ? 180.0 : half_deg / squeeze;
  extent.west_deg = centre.longitude_deg - half_longitude;
  extent.east_deg = centre.longitude_deg + half_longitude;
  return extent;
}

// Returns a round step for about five lines.
double StepOf(double extent_deg) {
  constexpr std::array kSteps = {30.0, 20.0, 10.0, 5.0, 2.0, 1.0, 0.5, 0.2, 0.1, 0.05, 0.02, 0.01};
  for (const double step : kSteps) {
    if (extent_deg / step >= 5.0) return step;
  }
  return kSteps.back();
}

std::string DegreeText(double degrees, double step, const char* positive, const char* negative) {
  int decimals = 0;
  for (double unit = 1.0; unit > step * 1.001 && decimals < 2; unit /= 10.0) ++decimals;
  const char* const side = degrees > 0.0 ? positive : negative;
  return Number(std::abs(degrees), decimals) + "\u00b0" +
         (std::abs(degrees) < step / 2.0 ? "" : side);
}

std::string TextAt(const MapPoint& at, const std::string& text, double size_px, const View& view,
                   const char* attributes) {
  return "<text x=\"" + Number(at.x_km) + "\" y=\"" + Number(at.y_km) + "\" font-size=\"" +
         Number(size_px * view.Pixel_km(), 4) + "\" data-px=\"" + Number(size_px, 0) + "\" " +
         attributes + '>' + XmlText(text) + "</text>\n";
}

struct LocalGraticule {
  std::string path;
  std::string labels;

  // Adds a line through `points`, with its text at the place where it enters the view: from the
  // left for parallels, from below for meridians.
  void AddLine(const std::vector<MapPoint>& points, const std::string& text, bool is_parallel,
               const View& view) {
    path += PathOf(points, false);
    const double inset = 6.0 * view.Pixel_km();
    const MapPoint* best = nullptr;
    for (const MapPoint& point : points) {
      if (std::hypot(point.x_km, point.y_km) > MapProjection::HemisphereRadius_km()) continue;
      const View inner = {view.x_km + inset, view.y_km + inset, view.width_km - 8.0 * inset,
                          view.height_km - 2.0 * inset};
      if (!inner.Contains(point)) continue;
      const bool is_better =
          best == nullptr || (is_parallel ? point.x_km < best->x_km : point.y_km > best->y_km);
      if (is_better) best = &point;
    }
    // Meridians end within the view only at a pole, where their texts would lie on one another.
    const bool is_pole = !is_parallel && (best == &points.front() || best == &points.back());
    if (best == nullptr || is_pole) return;
    const MapPoint at = {best->x_km + (is_parallel ? 0.0 : inset / 2.0),
                         best->y_km - (is_parallel ? inset / 2.0 : 0.0)};
    labels += TextAt(at, text, 11.0, view, "class=\"degrees\"");
  }
};

LocalGraticule GraticuleAround(const MapProjection& projection, const View& view,
                               const LonLat& centre) {
  constexpr int kPoints = 200;
  const Extent extent = ExtentOf(view, centre);
  LocalGraticule graticule;
  const auto add_lines = [&](double from, double to, double step, bool is_parallel) {
    for (double degrees = std::ceil(from / step) * step; degrees <= to; degrees += step) {
      std::vector<MapPoint> points;
      for (int i = 0; i <= kPoints; ++i) {
        const double part = static_cast<double>(i) / kPoints;
        points.push_back(projection.Project(
            is_parallel ? LonLat{std::lerp(extent.west_deg, extent.east_deg, part), degrees}
                        : LonLat{degrees, std::lerp(extent.south_deg, extent.north_deg, part)}));
      }
      const std::string text = is_parallel
                                   ? DegreeText(degrees, step, "N", "S")
                                   : DegreeText(std::remainder(degrees, 360.0), step, "E", "W");
      graticule.AddLine(points, text, is_parallel, view);
    }
  };
  const double longitudes = extent.east_deg - extent.west_deg;
  const double last = longitudes >= 360.0 ? extent.east_deg - 1e-6 : extent.east_deg;
  add_lines(extent.west_deg, last, StepOf(longitudes), false);
  add_lines(extent.south_deg, std::min(extent.north_deg, 89.999),
            StepOf(extent.north_deg - extent.south_deg), true);
  return graticule;
}

// --- the scenes ---

// The four edges of a scene's outline on the map.
class MapOutline {
 public:
  MapOutline(const MapScene& scene, const MapProjection& projection) {
    for (const LonLat& place : scene.outline) points_.push_back(projection.Project(place));
    edge_ = points_.size() / 4;
  }

  [[nodiscard]] const std::vector<MapPoint>& Points() const { return points_; }
  [[nodiscard]] std::size_t PointsPerEdge() const { return edge_; }
  // The corners: first near, first far, last far, last near.
  [[nodiscard]] const MapPoint& Corner(std::size_t i) const { return points_[i * edge_]; }
  // Points of the first and the last line, i from near (0) to far (PointsPerEdge()).
  [[nodiscard]] const MapPoint& OnFirstLine(std::size_t i) const { return points_[i]; }
  [[nodiscard]] const MapPoint& OnLastLine(std::size_t i) const { return points_[3 * edge_ - i]; }
  // A point in the image at these fractions of the way from near to far and from first to last.
  [[nodiscard]] MapPoint Inside(double to_far, double to_last) const {
    const MapPoint near = Between(Corner(0), Corner(3), to_last);
    const MapPoint far = Between(Corner(1), Corner(2), to_last);
    return Between(near, far, to_far);
  }

 private:
  static MapPoint Between(const MapPoint& a, const MapPoint& b, double part) {
    return {std::lerp(a.x_km, b.x_km, part), std::lerp(a.y_km, b.y_km, part)};
  }

  std::vector<MapPoint> points_;
  std::size_t edge_ = 0;
};

// Returns an arrow whose head is proportional to its length.
std::string Arrow(const MapPoint& from, const MapPoint& to, const char* attributes) {
  const double x = to.x_km - from.x_km;
  const double y = to.y_km - from.y_km;
  constexpr double kHead = 0.22;
  const MapPoint left = {to.x_km - kHead * (x + 0.5 * y), to.y_km - kHead * (y - 0.5 * x)};
  const MapPoint right = {to.x_km - kHead * (x - 0.5 * y), to.y_km - kHead * (y + 0.5 * x)};
  std::string path;
  AddPoint(path, from, true);
  AddPoint(path, to, false);
  AddPoint(path, left, true);
  AddPoint(path, to, false);
  AddPoint(path, right, false);
  return "<path d=\"" + path + "\" " + attributes + "/>\n";
}

// Returns strips from near to far, which are more opaque for larger incidence angles.
std::string IncidenceStrips(const MapOutline& outline) {
  std::string strips;
  const std::size_t step = std::max<std::size_t>(1, outline.PointsPerEdge() / 8);
  for (std::size_t i = 0; i + step <= outline.PointsPerEdge(); i += step) {
    std::vector<MapPoint> strip;
    for (std::size_t k = i; k <= i + step; ++k) strip.push_back(outline.OnFirstLine(k));
    for (std::size_t k = i + step + 1; k-- > i;) strip.push_back(outline.OnLastLine(k));
    const double part = static_cast<double>(i) / static_cast<double>(outline.PointsPerEdge());
    strips += "<path d=\"" + PathOf(strip, true) + "\" fill-opacity=\"" +
              Number(0.18 + 0.32 * part, 2) + "\"/>\n";
  }
  return strips;
}

std::string CornerText(const LonLat& corner) {
  return Number(std::abs(corner.latitude_deg), 4) + "\u00b0" +
         (corner.latitude_deg < 0.0 ? "S " : "N ") + Number(std::abs(corner.longitude_deg), 4) +
         "\u00b0" + (corner.longitude_deg < 0.0 ? "W" : "E");
}

std::string SceneGroup(const MapScene& scene, std::size_t index, const MapProjection& projection,
                       const View& view) {
  const MapOutline outline(scene, projection);
  const std::string colour = ColourOf(index);
  std::string group = "<g class=\"scene\" id=\"scene" + std::to_string(index) + "\">\n<title>" +
                      XmlText(scene.name) + "</title>\n<g fill=\"" + colour + "\">\n" +
                      IncidenceStrips(outline) + "</g>\n<path class=\"footprint\" d=\"" +
                      PathOf(outline.Points(), true) + "\" stroke=\"" + colour + "\"/>\n";
  std::vector<MapPoint> first_line;
  for (std::size_t i = 0; i <= outline.PointsPerEdge(); ++i) {
    first_line.push_back(outline.OnFirstLine(i));
  }
  group +=
      "<path class=\"first\" d=\"" + PathOf(first_line, false) + "\" stroke=\"" + colour + "\"/>\n";
  const std::string arrow = "class=\"arrow\" stroke=\"" + colour + "\"";
  group += Arrow(outline.Inside(-0.12, 0.3), outline.Inside(-0.12, 0.7), arrow.c_str());
  group += Arrow(outline.Inside(-0.12, 0.5), outline.Inside(0.22, 0.5), arrow.c_str());
  const std::string anchor = "text-anchor=\"middle\" fill=\"" + colour + "\"";
  const auto text_at = [&](const MapPoint& at, const std::string& text, double size) {
    return TextAt(at, text, size, view, anchor.c_str());
  };
  MapPoint above = outline.Inside(0.5, 0.5);
  for (const MapPoint& point : outline.Points()) above.y_km = std::min(above.y_km, point.y_km);
  above.y_km -= 24.0 * view.Pixel_km();
  group += text_at(above, scene.name, 13.0);

  // Smaller footprints get no texts, because these would hide them.
  constexpr double kDetailed_px = 150.0;
  const double size_km = std::hypot(outline.Corner(2).x_km - outline.Corner(0).x_km,
                                    outline.Corner(2).y_km - outline.Corner(0).y_km);
  const bool is_detailed = size_km > kDetailed_px * view.Pixel_km();
  group += "<g class=\"detail\" data-km=\"" + Number(size_km) + "\" visibility=\"" +
           (is_detailed ? "visible" : "hidden") + "\">\n";
  group += text_at(outline.Inside(0.5, 0.07), "first line", 11.0);
  group += text_at(outline.Inside(0.12, 0.86), "near", 11.0);
  group +=
      text_at(outline.Inside(0.12, 0.36), Number(scene.incidence_near_deg, 1) + "\u00b0", 11.0);
  group += text_at(outline.Inside(0.5, 0.36), "incidence", 11.0);
  group += text_at(outline.Inside(0.88, 0.36), Number(scene.incidence_far_deg, 1) + "\u00b0", 11.0);
  group += text_at(outline.Inside(0.88, 0.86), "far", 11.0);
  const MapPoint middle = outline.Inside(0.5, 0.5);
  for (std::size_t i = 0; i < 4; ++i) {
    const MapPoint& corner = outline.Corner(i);
    const double away_km = 14.0 * view.Pixel_km();
    const bool is_left = corner.x_km < middle.x_km;
    const MapPoint at = {corner.x_km + (is_left ? -0.4 : 0.4) * away_km,
                         corner.y_km + (corner.y_km < middle.y_km ? -0.5 : 1.0) * away_km};
    group += TextAt(at, CornerText(scene.outline[i * outline.PointsPerEdge()]), 11.0, view,
                    is_left ? "class=\"corner\" text-anchor=\"end\"" : "class=\"corner\"");
  }
  return group + "</g></g>\n";
}

View ViewAround(const std::vector<MapScene>& scenes, const MapProjection& projection) {
  double west = std::numeric_limits<double>::infinity();
  double east = -west;
  double north = west;
  double south = -west;
  for (const MapScene& scene : scenes) {
    for (const LonLat& place : scene.outline) {
      const MapPoint point = projection.Project(place);
      west = std::min(west, point.x_km);
      east = std::max(east, point.x_km);
      north = std::min(north, point.y_km);
      south = std::max(south, point.y_km);
    }
  }
  constexpr double kMargin = 2.2;
  constexpr double kLeast_km = 2.0;
  View view;
  view.width_km = std::max(
      {(east - west) * kMargin, kLeast_km, (south - north) * kMargin * kWidth_px / kHeight_px});
  view.height_km = view.width_km * kHeight_px / kWidth_px;
  view.x_km = (west + east - view.width_km) / 2.0;
  view.y_km = (north + south - view.height_km) / 2.0;
  return view;
}

constexpr const char* kStyle =
    ".sea{fill:#e6f0f7}.land{fill:#f3efe4;stroke:#8d8a7d;stroke-width:.8;fill-rule:evenodd}"
    ".graticule{fill:none;stroke:#9fb4c3;stroke-width:.6}.world{stroke:#b9c8d3}"
    ".footprint{fill:none;stroke-width:1.6}.first{fill:none;stroke-width:4}"
    ".arrow{fill:none;stroke-width:2}path{vector-effect:non-scaling-stroke}"
    "text{font-family:sans-serif;paint-order:stroke}.degrees{fill:#5d7485}.corner{fill:#1f2933}"
    ".inset{fill:#e6f0f7;stroke:#5d7485;stroke-width:1}";

std::string SvgOf(const std::vector<MapScene>& scenes, const char* attributes) {
  std::vector<LonLat> all;
  for (const MapScene& scene : scenes) {
    all.insert(all.end(), scene.outline.begin(), scene.outline.end());
  }
  const LonLat centre = MiddleOf(all);
  const MapProjection projection(centre);
  const View view = ViewAround(scenes, projection);
  const double radius = MapProjection::HemisphereRadius_km();
  const LocalGraticule local = GraticuleAround(projection, view, centre);
  const std::string box = Number(view.x_km) + ' ' + Number(view.y_km) + ' ' +
                          Number(view.width_km) + ' ' + Number(view.height_km);
  std::string svg =
      std::string("<svg xmlns=\"http://www.w3.org/2000/svg\" ") + attributes + " viewBox=\"" + box +
      "\" data-box=\"" + box + "\">\n<style>" + kStyle + "</style>\n<defs><clipPath id=\"half\">" +
      "<circle r=\"" + Number(radius) + "\"/></clipPath>\n<path id=\"land\" class=\"land\" d=\"" +
      LandPath(projection) + "\"/></defs>\n<g clip-path=\"url(#half)\"><circle class=\"sea\" r=\"" +
      Number(radius) + "\"/>\n<use href=\"#land\"/>\n<path class=\"graticule world\" d=\"" +
      WorldGraticule(projection) + "\"/>\n<path class=\"graticule\" d=\"" + local.path +
      "\"/></g>\n" + local.labels;
  for (std::size_t i = 0; i < scenes.size(); ++i) {
    svg += SceneGroup(scenes[i], i, projection, view);
  }
  // A small globe in the corner shows the place on the earth.
  const double inset = view.width_km * 0.14;
  const double around = radius * 1.02;
  svg += "<svg class=\"overview\" x=\"" + Number(view.x_km + view.width_km - inset * 1.05) +
         "\" y=\"" + Number(view.y_km + inset * 0.05) + "\" width=\"" + Number(inset) +
         "\" height=\"" + Number(inset) + "\" viewBox=\"" + Number(-around) + ' ' +
         Number(-around) + ' ' + Number(2.0 * around) + ' ' + Number(2.0 * around) +
         "\"><circle class=\"inset\" r=\"" + Number(radius) +
         "\"/><g clip-path=\"url(#half)\"><use href=\"#land\"/></g><circle r=\"" +
         Number(radius * 0.05) + "\" fill=\"#c8501e\"/></svg>\n";
  return svg + "</svg>\n";
}

constexpr const char* kPageHead =
    "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
    "<meta name=\"viewport\" content=\"width=device-width\">\n<title>Radar scenes</title>\n<style>"
    "body{margin:0;font:14px sans-serif;color:#1f2933;display:flex;flex-direction:column;"
    "height:100vh}header{padding:6px 12px;display:flex;flex-wrap:wrap;gap:4px 18px;"
    "align-items:center}svg#map{flex:1;min-height:0;width:100%;cursor:grab;touch-action:none;"
    "background:#fff}i{display:inline-block;width:12px;height:12px;margin-right:5px}"
    "button{font:inherit;min-width:30px}footer{padding:3px 12px;font-size:11px;color:#5d7485}"
    "</style></head>\n<body>\n";

// Zoom by wheel and buttons, pan by dragging; texts keep their size on the screen.
constexpr const char* kScript = R"js(<script>
const map = document.getElementById('map');
const home = map.dataset.box.split(' ').map(Number);
const overview = map.querySelector('svg.overview');
let box = [...home];
function show() {
  map.setAttribute('viewBox', box.join(' '));
  const pixel = Math.max(box[2] / map.clientWidth, box[3] / map.clientHeight);
  for (const text of map.querySelectorAll('text')) {
    text.setAttribute('font-size', text.dataset.px * pixel);
  }
  for (const detail of map.querySelectorAll('.detail')) {
    const isLarge = detail.dataset.km > 150 * pixel;
    detail.setAttribute('visibility', isLarge ? 'visible' : 'hidden');
  }
  const size = box[2] * 0.14;
  overview.setAttribute('x', box[0] + box[2] - size * 1.05);
  overview.setAttribute('y', box[1] + size * 0.05);
  overview.setAttribute('width', size);
  overview.setAttribute('height', size);
}
function zoom(factor, x, y) {
  const width = Math.min(Math.max(box[2] * factor, home[2] / 100), 24000);
  factor = width / box[2];
  box = [x + (box[0] - x) * factor, y + (box[1] - y) * factor, width, box[3] * factor];
  show();
}
function place(event) {
  const point = new DOMPoint(event.clientX, event.clientY);
  return point.matrixTransform(map.getScreenCTM().inverse());
}
map.addEventListener('wheel', (event) => {
  event.preventDefault();
  const at = place(event);
  zoom(event.deltaY > 0 ? 1.25 : 0.8, at.x, at.y);
}, {passive: false});
let held = null;
map.addEventListener('pointerdown', (event) => {
  held = place(event);
  map.setPointerCapture(event.pointerId);
});
map.addEventListener('pointermove', (event) => {
  if (!held) return;
  const at = place(event);
  box[0] += held.x - at.x;
  box[1] += held.y - at.y;
  show();
});
map.addEventListener('pointerup', () => { held = null; });
for (const button of document.querySelectorAll('button')) {
  button.addEventListener('click', () => {
    if (button.dataset.zoom) {
      zoom(Number(button.dataset.zoom), box[0] + box[2] / 2, box[1] + box[3] / 2);
    } else {
      box = [...home];
      show();
    }
  });
}
window.addEventListener('resize', show);
show();
</script>
)js";

std::string LegendOf(const std::vector<MapScene>& scenes) {
  std::string legend =
      "<header><span><button data-zoom=\"0.67\">+</button> <button data-zoom=\"1.5\">&minus;"
      "</button> <button>Home</button></span>\n";
  for (std::size_t i = 0; i < scenes.size(); ++i) {
    const MapScene& scene = scenes[i];
    legend += std::string("<span><i style=\"background:") + ColourOf(i) + "\"></i>" +
              XmlText(scene.name) + ", looks " +
              (scene.look_side == LookSide::kRight ? "right" : "left") + ", incidence " +
              Number(scene.incidence_near_deg, 1) + "\u00b0 to " +
              Number(scene.incidence_far_deg, 1) + "\u00b0</span>\n";
  }
  return legend + "</header>\n";
}

}  // namespace

MapScene MapSceneOf(const std::string& name, const Scene& scene) {
  const SceneResults results = scene.Results();
  constexpr std::size_t kPointsPerEdge = 24;
  return {name, OutlineOf(scene, {}, kPointsPerEdge), scene.Parameters().look_side,
          results.inc_angle_near, results.inc_angle_far};
}

std::string MapSvg(const std::vector<MapScene>& scenes) {
  const std::string size =
      "width=\"" + Number(kWidth_px, 0) + "\" height=\"" + Number(kHeight_px, 0) + '"';
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + SvgOf(scenes, size.c_str());
}

std::string MapHtml(const std::vector<MapScene>& scenes) {
  return kPageHead + LegendOf(scenes) + SvgOf(scenes, "id=\"map\"") +
         "<footer>Coastlines: Natural Earth (public domain).</footer>\n" + kScript +
         "</body></html>\n";
}

}  // namespace quellmark::report
