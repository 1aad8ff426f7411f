// Warnings, at level QA_WARNING, about a scene that can be located but looks wrong.
#pragma once

#include "app/sar_scene.h"

namespace quellmark::app {

/// Warns of frequencies that no radar has, and of image lines beyond the state vectors, where the
/// orbit is extrapolated. The scene must be initialised.
void WarnOfImplausibleScene(const SAR_SCENE& scene);

/// Warns if no tile of the attached DEM covers the scene's centre.
void WarnOfDemBesideCentre(const SAR_SCENE& scene, double longitude_deg, double latitude_deg);

}  // namespace quellmark::app
