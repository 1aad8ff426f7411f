#include "orbit/orbit_classes.tcc"

namespace quellmark::orbit {

template OrbitClasses PoolOrbitClasses<float, MISSION_ELAPSED_TIME>();
template OrbitClasses PoolOrbitClasses<double, MISSION_ELAPSED_TIME>();
template OrbitClasses MdbOrbitClasses<MISSION_ELAPSED_TIME>();

}  // namespace quellmark::orbit
