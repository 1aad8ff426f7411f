#include "toolbox/batch/batch.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <deque>
#include <filesystem>
#include <fstream>
#include <list>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <unordered_map>

#include "toolbox/batch/step_process.h"
#include "toolbox/batch/summary.h"
#include <quellmark/error.h>
#include <quellmark/pool.h>

namespace quellmark::batch {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr const char* kSoftwareKey = "software_names";
constexpr auto kPoll = std::chrono::milliseconds(200);
// How long a run waits for the steps that a killed run has left behind, because they may still be
// working on the same scenes.
constexpr auto kPatience = std::chrono::seconds(60);
// A disturbed scene waits before it is tried again, because a full disk takes time to recover.
constexpr auto kRetryPause = std::chrono::seconds(1);

// Returns a name like "summary.csv" or "summary.3-of-8.csv".
std::string FileOf(const std::string& out, const char* stem, const Part& part,
                   const char* extension) {
  std::string name = out + '/' + stem;
  if (!part.IsWhole()) {
    name += '.' + std::to_string(part.index) + "-of-" + std::to_string(part.count);
  }
  return name + extension;
}

std::string FindStep(const std::string& wanted) {
  if (wanted.find('/') != std::string::npos) {
    if (::access(wanted.c_str(), X_OK) == 0) return wanted;
    throw std::runtime_error(wanted + ": is no program that can be started");
  }
  const std::string name = wanted.empty() ? "quellmark" : wanted;
  std::vector<std::string> folders;
  std::error_code error;
  const fs::path self = fs::read_symlink("/proc/self/exe", error);
  if (wanted.empty() && !error) folders.push_back(self.parent_path().string());
  const char* const path = std::getenv("PATH");
  std::string_view rest = path == nullptr ? "" : path;
  while (!rest.empty()) {
    const std::string_view folder = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    if (!folder.empty()) folders.emplace_back(folder);
  }
  for (const std::string& folder : folders) {
    std::string program = folder;
    program.append("/").append(name);
    if (fs::is_regular_file(program, error) && ::access(program.c_str(), X_OK) == 0) {
      return program;
    }
  }
  throw std::runtime_error(name + ": is not found; name the step with --step");
}

// Returns the names of software that the step has recorded in its log pool, one per line.
std::string SoftwareIn(const std::string& log_pool) {
  std::string software;
  if (!fs::exists(log_pool)) return software;
  const Pool pool = Pool::Open(log_pool);
  if (!pool.Has(kSoftwareKey)) return software;
  for (const std::string& name : pool.Get<Vector<std::string>>(kSoftwareKey).values) {
    software += software.empty() ? name : '\n' + name;
  }
  return software;
}

// Calls `take` for each name in a row's software.
template <class Take>
void ForEachName(std::string_view software, Take take) {
  while (!software.empty()) {
    const std::string_view name = software.substr(0, software.find('\n'));
    software.remove_prefix(std::min(name.size() + 1, software.size()));
    take(name);
  }
}

// Writes the log pool of a run in pieces, because the whole text would need more memory than
// everything else.
class LogPoolWriter {
 public:
  // Writes what the rows of the summaries have recorded.
  static void Write(const std::string& path, const std::vector<std::string>& summaries) {
    const auto for_each_name = [&summaries](auto take) {
      for (const std::string& summary : summaries) {
        ForEachRow(summary, [&](const SummaryRow& row) { ForEachName(row.software, take); });
      }
    };
    std::size_t count = 0;
    for_each_name([&count](std::string_view) { ++count; });
    LogPoolWriter writer(path, count);
    for_each_name([&writer](std::string_view name) { writer.Add(name); });
    writer.Complete();
  }

 private:
  LogPoolWriter(const std::string& path, std::size_t count)
      : path_(path), beside_(path + ".new"), file_(beside_, std::ios::binary | std::ios::trunc) {
    // The text of an entry with one name supplies the lines around the names; only its count is
    // replaced by the final one.
    const std::string text = TextOf({1, {""}});
    const std::size_t line_end = text.find('\n');
    const std::size_t body = BodyBegin(text);
    std::string head = text.substr(0, line_end);
    head.resize(head.find_last_not_of("0123456789") + 1);
    file_ << head << count << text.substr(line_end, body - line_end);
    tail_ = text.substr(BodyEnd(text));
  }

  void Add(std::string_view name) {
    piece_.values.emplace_back(name);
    constexpr std::size_t kPiece = 1000;
    if (piece_.values.size() == kPiece) WritePiece();
  }
  void Complete() {
    WritePiece();
    file_ << tail_;
    file_.close();
    if (!file_) throw std::runtime_error(path_ + ": can not be written");
    PutInPlace(beside_, path_);
  }

  static std::string TextOf(const Vector<std::string>& names) {
    return PoolEditor().Set(kSoftwareKey, names).Text();
  }
  // The lines between the braces.
  static std::size_t BodyBegin(const std::string& text) { return text.find("{\n") + 2; }
  static std::size_t BodyEnd(const std::string& text) {
    return text.rfind('\n', text.rfind('}')) + 1;
  }
  void WritePiece() {
    if (piece_.values.empty()) return;
    const std::string text = TextOf(piece_);
    file_ << text.substr(BodyBegin(text), BodyEnd(text) - BodyBegin(text));
    piece_.values.clear();
  }

  const std::string& path_;
  std::string beside_;
  std::ofstream file_;
  std::string tail_;
  Vector<std::string> piece_;
};

// Blocks SIGCHLD and the signals that end a run in order, and receives them one by one.
class SignalTaker {
 public:
  SignalTaker() {
    ::sigemptyset(&taken_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD}) ::sigaddset(&taken_, signal);
    ::pthread_sigmask(SIG_BLOCK, &taken_, &before_);
  }

  /// Waits for a signal, but not longer than one poll. Returns whether a signal has come that asks
  /// the run to stop.
  [[nodiscard]] bool IsStopComing() const {
    const timespec most{0, std::chrono::nanoseconds(kPoll).count()};
    const int signal = ::sigtimedwait(&taken_, nullptr, &most);
    return signal > 0 && signal != SIGCHLD;
  }
  /// The signals that were blocked before.
  [[nodiscard]] const sigset_t& Before() const { return before_; }

 private:
  sigset_t taken_{};
  sigset_t before_{};
};

// A scene that is waiting or running.
struct Task {
  Scene scene;
  int attempts = 0;
  Clock::time_point not_before;
  std::string software;  // recorded by earlier runs whose row is replaced
};

class Runner {
 public:
  Runner(const BatchOptions& options, const ReportProgress& report)
      : options_(options),
        report_(report),
        list_(ReadSceneList(options.list, options.part)),
        starter_(options.out, FindStep(options.step), options.parameters),
        summary_(FileOf(options.out, "summary", options.part, ".csv")),
        steps_lock_(summary_.Path() + ".steps", kPatience,
                    summary_.Path() + ": steps of an earlier run that was killed still run"),
        most_running_(options.jobs > 0
                          ? static_cast<std::size_t>(options.jobs)
                          : std::max<std::size_t>(1, std::thread::hardware_concurrency())) {
    outcome_.summary_path = summary_.Path();
    outcome_.log_pool_path = FileOf(options.out, "log", options.part, ".pool");
  }

  BatchOutcome Run() {
    TakeTasks();
    Report();
    while (!running_.empty() || (!outcome_.stopped && IsAnyWaiting())) {
      if (!outcome_.stopped) StartSome();
      if (signals_.IsStopComing()) Stop();
      if (!outcome_.stopped && fs::exists(options_.out + "/STOP")) Stop();
      TakeEnded();
      Report();
    }
    LogPoolWriter::Write(outcome_.log_pool_path, {summary_.Path()});
    return outcome_;
  }

 private:
  struct Running {
    Running(Task task_, const StepStarter& starter, const sigset_t& signals, int inherited)
        : task(std::move(task_)), process(starter, task.scene, signals, inherited) {}
    Task task;
    StepProcess process;
  };

  // Takes over the results of an earlier run, and drops the rows of all scenes that must be run.
  void TakeTasks() {
    outcome_.repeated = list_.Repeated();
    progress_.total = list_.Size();
    is_settled_.assign(list_.Size(), false);
    summary_.Replace([this](const TakeRow& keep) {
      ForEachRow(summary_.Path(), [&](const SummaryRow& row) { TakeEarlier(row, keep); });
    });
    SkipSettled();
  }

  void TakeEarlier(const SummaryRow& row, const TakeRow& keep) {
    if (!options_.resume) {
      throw std::runtime_error(summary_.Path() +
                               ": holds an earlier run; go on with --resume or take another --out");
    }
    const std::size_t place = list_.Find(row.scene);
    if (place == list_.Size()) return keep(row);
    if (!IsSettled(row)) {
      earlier_software_[place] = row.software;
      return;
    }
    Count(row.status);
    ++progress_.skipped;
    is_settled_[place] = true;
    keep(row);
  }

  static bool IsSettled(const SummaryRow& row) {
    const PoolState now = StateOf(row.scene);
    return row.status != SceneStatus::kUnfinished && now.bytes == row.pool_bytes &&
           now.modified_ns == row.pool_modified_ns;
  }

  void SkipSettled() {
    while (next_ < list_.Size() && is_settled_[next_]) ++next_;
  }
  [[nodiscard]] bool IsAnyWaiting() const { return next_ < list_.Size() || !disturbed_.empty(); }

  // Returns the next scene of the list; after the last one, those that are tried again.
  std::optional<Task> NextTask() {
    Task task;
    if (next_ < list_.Size()) {
      task.scene = list_.At(next_);
      if (const auto earlier = earlier_software_.find(next_); earlier != earlier_software_.end()) {
        task.software = std::move(earlier->second);
        earlier_software_.erase(earlier);
      }
      ++next_;
      SkipSettled();
      return task;
    }
    if (disturbed_.empty() || disturbed_.front().not_before > Clock::now()) return std::nullopt;
    task = std::move(disturbed_.front());
    disturbed_.pop_front();
    return task;
  }

  void StartSome() {
    while (running_.size() < most_running_) {
      std::optional<Task> task = NextTask();
      if (!task) return;
      // The step would create a missing pool, so it is not started.
      if (StateOf(task->scene.path).bytes < 0) {
        Settle(*task, {SceneStatus::kFailed, "there is no such pool file", false}, 0.0);
        continue;
      }
      starter_.MakeFolderFor(task->scene);
      ++task->attempts;
      running_.emplace_back(std::move(*task), starter_, signals_.Before(),
                            steps_lock_.Descriptor());
    }
  }

  void Stop() {
    if (outcome_.stopped) {
      for (const Running& running : running_) running.process.Terminate();
    }
    outcome_.stopped = true;
  }

  void TakeEnded() {
    for (auto running = running_.begin(); running != running_.end();) {
      int wait_status = 0;
      if (::waitpid(running->process.Id(), &wait_status, WNOHANG) != running->process.Id()) {
        ++running;
        continue;
      }
      const double seconds = running->process.Seconds();
      const AttemptResult result = running->process.End(wait_status);
      Task task = std::move(running->task);
      running = running_.erase(running);
      if (result.was_stopped) outcome_.stopped = true;
      const bool is_retried = result.status == SceneStatus::kUnfinished &&
                              task.attempts <= options_.retries && !outcome_.stopped;
      if (is_retried) {
        task.not_before = Clock::now() + kRetryPause * task.attempts;
        disturbed_.push_back(std::move(task));
      } else {
        Settle(task, result, seconds);
      }
    }
  }

  void Settle(const Task& task, const AttemptResult& result, double seconds) {
    const PoolState state = StateOf(task.scene.path);
    SummaryRow row{task.scene.path,    result.status, seconds,
                   result.first_error, task.attempts, std::max<std::int64_t>(state.bytes, -1),
                   state.modified_ns,  task.software};
    const std::string recorded = SoftwareIn(starter_.LogPoolOf(task.scene));
    if (!row.software.empty() && !recorded.empty()) row.software += '\n';
    row.software += recorded;
    summary_.Append(row);
    starter_.RemoveFilesOf(task.scene, result.status);
    Count(result.status);
  }

  void Count(SceneStatus status) {
    ++progress_.done;
    if (status != SceneStatus::kLocated) ++progress_.failed;
  }

  void Report() {
    progress_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    outcome_.progress = progress_;
    if (report_) report_(progress_);
  }

  const BatchOptions& options_;
  const ReportProgress& report_;
  SignalTaker signals_;
  SceneList list_;
  StepStarter starter_;
  Summary summary_;
  FileLock steps_lock_;  // held by the steps too, which may outlive a run that is killed
  std::size_t most_running_;
  std::size_t next_ = 0;                                           // place in the list
  std::vector<bool> is_settled_;                                   // by place in the list
  std::unordered_map<std::size_t, std::string> earlier_software_;  // of rows that were dropped
  std::deque<Task> disturbed_;
  std::list<Running> running_;
  BatchProgress progress_;
  BatchOutcome outcome_;
  Clock::time_point start_ = Clock::now();
};

// Returns the summaries of the parts in a folder, by part. Throws unless they belong to one count
// and are complete.
std::map<std::uint32_t, std::string> FindParts(const std::string& out) {
  constexpr std::string_view kFront = "summary.";
  constexpr std::string_view kBack = ".csv";
  std::map<std::uint32_t, std::string> parts;
  std::uint32_t count = 0;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(out, error)) {
    std::string name = entry.path().filename().string();
    const std::size_t of = name.find("-of-");
    if (!name.starts_with(kFront) || !name.ends_with(kBack) || of == std::string::npos) continue;
    name = name.substr(kFront.size(), name.size() - kFront.size() - kBack.size());
    const Part part = ParsePart(name.replace(of - kFront.size(), 4, "/"));
    if (count != 0 && part.count != count) {
      throw std::runtime_error(out + ": holds parts of " + std::to_string(count) + " and of " +
                               std::to_string(part.count));
    }
    count = part.count;
    parts[part.index] = entry.path().string();
  }
  if (error) throw std::runtime_error(out + ": " + error.message());
  if (parts.empty()) throw std::runtime_error(out + ": holds no parts of a batch run");
  for (std::uint32_t index = 1; index <= count; ++index) {
    if (!parts.contains(index)) {
      throw std::runtime_error(out + ": part " + std::to_string(index) + " of " +
                               std::to_string(count) + " is missing");
    }
  }
  return parts;
}

}  // namespace

BatchOutcome RunBatch(const BatchOptions& options, const ReportProgress& report) {
  return Runner(options, report).Run();
}

BatchOutcome MergeParts(const std::string& out) {
  BatchOutcome outcome;
  std::vector<std::string> parts;
  for (const auto& [index, path] : FindParts(out)) parts.push_back(path);
  Summary summary(FileOf(out, "summary", Part{}, ".csv"));
  summary.Replace([&](const TakeRow& add) {
    for (const std::string& part : parts) {
      ForEachRow(part, [&](const SummaryRow& row) {
        ++outcome.progress.done;
        if (row.status != SceneStatus::kLocated) ++outcome.progress.failed;
        add(row);
      });
    }
  });
  outcome.progress.total = outcome.progress.done;
  outcome.summary_path = summary.Path();
  outcome.log_pool_path = FileOf(out, "log", Part{}, ".pool");
  LogPoolWriter::Write(outcome.log_pool_path, {summary.Path()});
  return outcome;
}

}  // namespace quellmark::batch
