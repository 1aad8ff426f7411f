// One run of the step for one scene, as a process.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "toolbox/batch/scene_list.h"
#include "toolbox/batch/summary.h"

namespace quellmark::batch {

/// Where the files of the scenes lie and how the step is started for them.
class StepStarter {
 public:
  /// Makes the folder of the scenes' files below `out`. `step` is the path of the program,
  /// `parameters` stand behind its own. Throws std::runtime_error.
  StepStarter(const std::string& out, std::string step, std::vector<std::string> parameters);

  /// The arguments for a scene: process name, status folder, log, log pool, scene pool, then the
  /// parameters of the user.
  [[nodiscard]] std::vector<std::string> ArgumentsFor(const Scene& scene) const;
  [[nodiscard]] const std::string& Step() const { return step_; }

  /// Makes the folder for the scene's files.
  void MakeFolderFor(const Scene& scene) const;
  /// The scene's log pool, which its run makes.
  [[nodiscard]] std::string LogPoolOf(const Scene& scene) const;
  /// Removes log pool and status files of a scene whose row has been written; an ERROR file of a
  /// scene that failed stays.
  void RemoveFilesOf(const Scene& scene, SceneStatus status) const;

 private:
  [[nodiscard]] std::string FolderOf(const Scene& scene) const;

  std::string scenes_folder_;
  std::string step_;
  std::vector<std::string> parameters_;
};

/// How an attempt ended.
struct AttemptResult {
  SceneStatus status = SceneStatus::kUnfinished;
  std::string first_error;
  bool was_stopped = false;  ///< the step found its own STOP file
};

/// What the step has printed and its wait status say. It ends with 0 if the scene was located. It
/// was disturbed from outside if it was killed, or if it tells of a signal that people and
/// schedulers send, of a full disk or a quota.
[[nodiscard]] AttemptResult Judge(int wait_status, std::string_view printed);

/// A running step. Its output is caught in memory.
class StepProcess {
 public:
  using Clock = std::chrono::steady_clock;

  /// Starts the step in a process group of its own, so that an interrupt from the terminal reaches
  /// this program alone, with standard input from /dev/null and with `signals` let through. Throws
  /// std::runtime_error.
  StepProcess(const StepStarter& starter, const Scene& scene, const sigset_t& signals);
  StepProcess(const StepProcess&) = delete;
  StepProcess& operator=(const StepProcess&) = delete;
  /// Ends and waits for a step that still runs.
  ~StepProcess();

  [[nodiscard]] pid_t Id() const { return pid_; }
  [[nodiscard]] double Seconds() const;
  void Terminate() const;
  /// To be called once, with the status that waitpid() has given for Id().
  [[nodiscard]] AttemptResult End(int wait_status);

 private:
  [[nodiscard]] std::string Printed() const;

  pid_t pid_ = -1;
  int output_fd_ = -1;
  Clock::time_point start_ = Clock::now();
};

}  // namespace quellmark::batch
