// quellmark: one batch step of a SAR processing chain; locates a scene on the Earth.
#include "app/command_line_info.h"
#include "app/driver.h"
#include "runtime/controller_ifc.h"

int main(int argc, char** argv) {
  if (const auto status = quellmark::app::AnswerInfoRequest(argc, argv)) return *status;
  CONTROLLER_IFC controller;
  try {
    quellmark::app::RunPass(controller, argc, argv);
    controller.SuccessExit();
  } catch (...) {
    // The one place where an exception's flight ends.
    quellmark::app::LogFailure(controller);
    controller.FailureExit();
  }
}
