#include "app/driver.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>

#include "app/command_line_info.h"
#include "app/plausibility.h"
#include "app/sar_scene.h"
#include "app/scene_results.h"
#include "app/software_identification.h"
#include "app/version.h"
#include "basic/error_lock.h"
#include "basic/errors.h"
#include "basic/string.h"
#include "pool/parameter_pool_read_write_change.h"
#include "runtime/controller_ifc.h"
#include "runtime/log.h"

namespace quellmark::app {

namespace {

using runtime::Log;
using runtime::LogLevel;
using runtime::LogLine;

STRING ReadParameter(CONTROLLER_IFC& controller, const char* name) {
  try {
    std::string value;
    controller.GetParameter(name, value);
    return STRING(std::move(value));
  } catch (const std::bad_alloc&) {
    throw ERROR_NO_MEMORY();
  }
}

// Only the exact text "false" goes without the DEM; "FALSE", "no", "0" and an empty text open it.
// This is deliberate: the controllers that start this step rely on it.
bool IsDemWanted(const STRING& use_dem) { return use_dem != "false"; }

// Reads the scene from one state of the pool: the update of a parallel run is either complete or
// not yet visible.
void ReadScene(PARAMETER_POOL& pool, SAR_SCENE& scene) {
  const pool::PoolLock lock = pool.LockForReading();
  scene.ReadFromParameterPool(pool);
}

// Must be called in a catch block.
void LogException() {
  try {
    throw;
  } catch (const BASIC::TYPES::ERROR_ENUM_BASE_INVALID_VALUE& error) {
    const std::unique_ptr<const char[]> text(error.Message());
    LogLine(LogLevel::kAlarm, text.get(), "\n");
    std::string value;
    {
      const std::lock_guard lock(basic::ErrorLock());
      value = error.Value();
    }
    LogLine(LogLevel::kAlarm, value, "\n");
  } catch (const ERROR_EXCEPTION& error) {
    LogLine(LogLevel::kAlarm, error.Message(), "\n");
  } catch (const char* text) {
    LogLine(LogLevel::kAlarm, text, "\n");
  } catch (...) {
    LogLine(LogLevel::kAlarm, "program aborted due to FATAL ERROR\n");
  }
}

// Must be called in a catch block; `controller` is null if it could not be made. A line is left out
// if the log has no memory for it.
void LogFailure(CONTROLLER_IFC* controller) noexcept {
  try {
    LogException();
  } catch (...) {
  }
  try {
    const std::string name = controller == nullptr ? "unknown" : controller->get_binary_name();
    LogLine(LogLevel::kAlarm, "KVT_MSG|ERROR|", name, " terminated with error!\n");
  } catch (...) {
  }
}

// These two collect all their lines and write them at once.
void PrintScene(const SAR_SCENE& scene) {
  const runtime::LogBatch batch;
  scene.Print();
}

void ReportResults(const SceneResults& results) {
  const runtime::LogBatch batch;
  LogResults(results);
}

void RunPass(CONTROLLER_IFC& controller, int argc, char** argv) {
  constexpr int kMessageMode = 1;
  std::optional<SAR_SCENE> made;
  try {
    made.emplace();
  } catch (...) {
    controller.init(argc, argv, kMessageMode);  // log and status files then report the failure
    throw;
  }
  SAR_SCENE& scene = *made;
  controller.init(argc, argv, kMessageMode);
  const VERSION_RECORD version = ProgramVersion();
  Log().WriteHeader(version, controller.ConfigurationFile());
  WarnOfUnknownArguments(argc, argv);

  const STRING log_pool_path = ReadParameter(controller, "log_pp");
  PARAMETER_POOL_READ_WRITE_CHANGE log_pool(log_pool_path.Text());
  const auto wait = std::make_shared<pool::LockWait>();  // one limit for both pools together
  log_pool.ShareWait(wait);

  Log().Print(LogLevel::kInfo, " * Read parameters from controller");
  const STRING scene_pool_path = ReadParameter(controller, "SCENE_POOL");
  Log().Print(LogLevel::kInfo, "   - %-20s: %s", "SCENE_POOL", scene_pool_path.Text());
  const bool is_dem_wanted = IsDemWanted(ReadParameter(controller, "USE_DEM"));
  STRING dem_path;
  if (is_dem_wanted) dem_path = ReadParameter(controller, "DEM_FILE");

  Log().Print(LogLevel::kInfo, " * Initialize scene from pool");
  PARAMETER_POOL_READ_WRITE_CHANGE scene_pool(scene_pool_path.Text());
  scene_pool.ShareWait(wait);
  ReadScene(scene_pool, scene);
  if (is_dem_wanted) scene.AttachDem(dem_path);
  PrintScene(scene);
  WarnOfImplausibleScene(scene);

  Log().Print(LogLevel::kInfo, " * Perform geolocalization");
  const SceneResults results = LocateScene(scene);
  ReportResults(results);
  WarnOfDemBesideCentre(scene, static_cast<double>(results.center.longitude),
                        static_cast<double>(results.center.latitude));

  Log().Print(LogLevel::kInfo, " * Write parameters to pool");
  SetResults(results, scene_pool);
  // If both pools are one file, the first must be closed before the second can lock it. Otherwise
  // the scene pool is locked first, so that nobody waits for the log pool while this run waits for
  // its scene.
  if (scene_pool.IsSameFileAs(log_pool)) scene_pool.Close();
  scene_pool.LockForUpdate();
  RecordSoftwareIdentification(version, log_pool);
  scene_pool.Close();
  log_pool.Close();
  Log().WriteFooter();
}

}  // namespace

void Run(int argc, char** argv) {
  std::optional<CONTROLLER_IFC> controller;
  try {
    controller.emplace();
    RunPass(*controller, argc, argv);
    controller->SuccessExit();
  } catch (...) {
    LogFailure(controller ? &*controller : nullptr);
  }
  if (controller) controller->FailureExit();
  std::exit(EXIT_FAILURE);
}

}  // namespace quellmark::app
