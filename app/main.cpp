// quellmark: one batch step of a SAR processing chain; locates a scene on the Earth.
#include "app/command_line_info.h"
#include "app/driver.h"

int main(int argc, char** argv) {
  if (const auto status = quellmark::app::AnswerInfoRequest(argc, argv)) return *status;
  quellmark::app::Run(argc, argv);
}
