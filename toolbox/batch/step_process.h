// Runs the step for one scene in a process.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "toolbox/batch/scene_list.h"
#include "toolbox/batch/summary.h"

namespace quellmark::batch {

/// The places of the scenes' files, and the command lines of the step.
class StepStarter {
 public:
  /// Creates the folder of the scenes' files in `out`. `step` is the path of the program;
  /// `parameters` follow the standard ones. Throws std::runtime_error.
  StepStarter(const std::string& out, std::string step, std::vector<std::string> parameters);

  /// Returns the arguments for a scene: process name, status folder, log, log pool, scene pool,
  /// then the user's parameters.
  [[nodiscard]] std::vector<std::string> ArgumentsFor(const Scene& scene) const;
  [[nodiscard]] const std::string& Step() const { return step_; }

  /// Creates the folder for the scene's files.
  void MakeFolderFor(const Scene& scene) const;
  /// The path of the log pool that the scene's run creates.
  [[nodiscard]] std::string LogPoolOf(const Scene& scene) const;
  /// Removes log pool and status files of a scene whose row has been written. Keeps the ERROR file
  /// of a failed scene.
  void RemoveFilesOf(const Scene& scene, SceneStatus status) const;

 private:
  [[nodiscard]] std::string FolderOf(const Scene& scene) const;

  std::string scenes_folder_;
  std::string step_;
  std::vector<std::string> parameters_;
};

/// The outcome of an attempt.
struct AttemptResult {
  SceneStatus status = SceneStatus::kUnfinished;
  std::string first_error;
  bool was_stopped = false;  ///< the step found its own STOP file
};

/// Judges an attempt by the step's wait status and output. Exit status 0 means that the scene was
/// located. The step was disturbed from outside if it was killed, or if its output mentions a
/// signal that people and schedulers send, a full disk or a quota.
[[nodiscard]] AttemptResult Judge(int wait_status, std::string_view printed);

/// A running step. Its output is collected in memory.
class StepProcess {
 public:
  using Clock = std::chrono::steady_clock;

  /// Starts the step with /dev/null as standard input, with the signal mask `signals` and with the
  /// descriptor `inherited`. The step gets its own process group, so an interrupt from the terminal
  /// reaches only this program. Throws std::runtime_error.
  StepProcess(const StepStarter& starter, const Scene& scene, const sigset_t& signals,
              int inherited);
  StepProcess(const StepProcess&) = delete;
  StepProcess& operator=(const StepProcess&) = delete;
  /// Ends the step if it is still running, and waits for it.
  ~StepProcess();

  [[nodiscard]] pid_t Id() const { return pid_; }
  [[nodiscard]] double Seconds() const;
  void Terminate() const;
  /// Must be called once, with the status that waitpid() returned for Id().
  [[nodiscard]] AttemptResult End(int wait_status);

 private:
  [[nodiscard]] std::string Printed() const;

  pid_t pid_ = -1;
  int output_fd_ = -1;
  Clock::time_point start_ = Clock::now();
};

}  // namespace quellmark::batch
