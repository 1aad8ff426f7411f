#pragma once

#include "runtime/controller_ifc.h"

namespace quellmark::app {

/// The program's one pass: reads the controller's parameters, locates the scene, writes the results
/// into its pool and the software identification into the log pool. Both pools are closed when it
/// returns, and also when a failure leaves it.
void RunPass(CONTROLLER_IFC& controller, int argc, char** argv);

/// To be called in a catch block: logs the failure that is being handled, then the controller's
/// " terminated with error!" line.
void LogFailure(CONTROLLER_IFC& controller);

}  // namespace quellmark::app
