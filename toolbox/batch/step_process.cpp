#include "toolbox/batch/step_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace quellmark::batch {

namespace {

namespace fs = std::filesystem;

// The step refuses longer paths for its files.
constexpr std::size_t kMaxPath = 255;
constexpr std::size_t kMaxErrorText = 500;

// Signals with which people, schedulers and limits end a process.
constexpr std::array kOutsideSignals = {SIGHUP,  SIGINT,  SIGQUIT, SIGKILL, SIGPIPE,
                                        SIGALRM, SIGTERM, SIGXCPU, SIGXFSZ};

bool ComesFromOutside(int signal) {
  return std::find(kOutsideSignals.begin(), kOutsideSignals.end(), signal) != kOutsideSignals.end();
}

// Returns the number after the first " got fatal signal " in the step's output, or 0.
int PrintedSignal(std::string_view printed) {
  constexpr std::string_view kText = "got fatal signal ";
  const std::size_t at = printed.find(kText);
  int signal = 0;
  if (at != std::string_view::npos) {
    const char* const digits = printed.data() + at + kText.size();
    std::from_chars(digits, printed.data() + printed.size(), signal);
  }
  return signal;
}

bool TellsOfFullDisk(std::string_view printed) {
  for (const int error : {ENOSPC, EDQUOT}) {
    if (printed.find(std::strerror(error)) != std::string_view::npos) return true;
  }
  return false;
}

// Returns the first line of level ALARM, without level and process name, or else the last line.
std::string FirstError(std::string_view printed) {
  constexpr std::string_view kLevel = "ALARM : ";
  std::string_view last;
  while (!printed.empty()) {
    const std::string_view line = printed.substr(0, printed.find('\n'));
    printed.remove_prefix(std::min(line.size() + 1, printed.size()));
    if (line.empty()) continue;
    last = line;
    if (!line.starts_with(kLevel)) continue;
    const std::size_t text = line.find(" : ", kLevel.size());
    last = line.substr(text == std::string_view::npos ? kLevel.size() : text + 3);
    break;
  }
  std::string error(last.substr(0, kMaxErrorText));
  for (char& c : error) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte >= 0x7F) c = ' ';  // spreadsheets read the table: plain ASCII only
  }
  return error;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// Returns the environment of the step, without the colours of a terminal, which would disturb error
// texts.
std::vector<std::string> StepEnvironment() {
  std::vector<std::string> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) environment.emplace_back(*entry);
  environment.emplace_back("NO_COLOR=1");
  return environment;
}

}  // namespace

StepStarter::StepStarter(const std::string& out, std::string step,
                         std::vector<std::string> parameters)
    : scenes_folder_(fs::absolute(out).lexically_normal().string() + "/scenes"),
      step_(std::move(step)),
      parameters_(std::move(parameters)) {
  const Scene longest{std::string(kMaxPath, 'x'), 0};
  if (FolderOf(longest).size() + std::string("/ERROR.").size() + longest.Name().size() > kMaxPath) {
    throw std::runtime_error(out + ": the path is too long for the step's files in it");
  }
  std::error_code error;
  fs::create_directories(scenes_folder_, error);
  if (error) throw std::runtime_error(scenes_folder_ + ": " + error.message());
}

std::string StepStarter::FolderOf(const Scene& scene) const {
  // The files are spread over 256 folders, because file systems are slow with very large folders.
  constexpr std::array kDigits = {'0', '1', '2', '3', '4', '5', '6', '7',
                                  '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
  return scenes_folder_ + '/' + kDigits.at((scene.id >> 4) & 0xF) + kDigits.at(scene.id & 0xF);
}

void StepStarter::MakeFolderFor(const Scene& scene) const {
  std::error_code error;
  const std::string folder = FolderOf(scene);
  fs::create_directory(folder, error);
  if (error) throw std::runtime_error(folder + ": " + error.message());
}

std::string StepStarter::LogPoolOf(const Scene& scene) const {
  return FolderOf(scene) + '/' + scene.Name() + ".log_pool";
}

std::vector<std::string> StepStarter::ArgumentsFor(const Scene& scene) const {
  const std::string folder = FolderOf(scene);
  const std::string name = scene.Name();
  std::vector<std::string> arguments = {step_,
                                        "-pid",
                                        name,
                                        "-status",
                                        folder,
                                        "-lfn",
                                        folder + '/' + name + ".log",
                                        "-lsl",
                                        "ALARM",
                                        "-log_pp",
                                        LogPoolOf(scene),
                                        "-USE_DEM",
                                        "false"};
  arguments.insert(arguments.end(), parameters_.begin(), parameters_.end());
  arguments.insert(arguments.end(), {"-SCENE_POOL", scene.path});
  return arguments;
}

void StepStarter::RemoveFilesOf(const Scene& scene, SceneStatus status) const {
  std::error_code ignored;  // a file that is left does no harm
  fs::remove(LogPoolOf(scene), ignored);
  fs::remove(FolderOf(scene) + "/OK." + scene.Name(), ignored);
  if (status == SceneStatus::kLocated) {
    fs::remove(FolderOf(scene) + "/ERROR." + scene.Name(), ignored);
  }
}

AttemptResult Judge(int wait_status, std::string_view printed) {
  AttemptResult result;
  if (WIFSIGNALED(wait_status)) {
    const int signal = WTERMSIG(wait_status);
    result.first_error = "killed by signal " + std::to_string(signal);
    if (!ComesFromOutside(signal)) result.status = SceneStatus::kFailed;
    return result;
  }
  const int exit_status = WEXITSTATUS(wait_status);
  if (exit_status == 0) {
    result.status = SceneStatus::kLocated;
    return result;
  }
  result.first_error = FirstError(printed);
  if (result.first_error.empty()) {
    result.first_error = "ended with exit status " + std::to_string(exit_status);
  }
  constexpr int kStopFileFound = 2;
  result.was_stopped = exit_status == kStopFileFound;
  const bool is_disturbed =
      result.was_stopped || ComesFromOutside(PrintedSignal(printed)) || TellsOfFullDisk(printed);
  if (!is_disturbed) result.status = SceneStatus::kFailed;
  return result;
}

StepProcess::StepProcess(const StepStarter& starter, const Scene& scene, const sigset_t& signals,
                         int inherited) {
  output_fd_ = ::memfd_create("step output", MFD_CLOEXEC);
  if (output_fd_ < 0) throw std::runtime_error(std::string("memfd: ") + std::strerror(errno));
  std::vector<std::string> arguments = starter.ArgumentsFor(scene);
  std::vector<std::string> environment = StepEnvironment();

  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  ::posix_spawn_file_actions_init(&files);
  ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_adddup2(&files, output_fd_, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&files, output_fd_, STDERR_FILENO);
  ::posix_spawn_file_actions_adddup2(&files, inherited, inherited);  // no longer closed by exec
  ::posix_spawnattr_init(&attributes);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
  ::posix_spawnattr_setsigmask(&attributes, &signals);
  const int error = ::posix_spawn(&pid_, starter.Step().c_str(), &files, &attributes,
                                  Pointers(arguments).data(), Pointers(environment).data());
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    ::close(output_fd_);
    throw std::runtime_error(starter.Step() + ": can not be started: " + std::strerror(error));
  }
}

StepProcess::~StepProcess() {
  if (pid_ > 0) {
    Terminate();
    while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  ::close(output_fd_);
}

double StepProcess::Seconds() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

void StepProcess::Terminate() const { ::kill(pid_, SIGTERM); }

std::string StepProcess::Printed() const {
  constexpr std::size_t kMost = std::size_t{1} << 16;
  std::string text(kMost, '\0');
  const ssize_t size = ::pread(output_fd_, text.data(), text.size(), 0);
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return text;
}

AttemptResult StepProcess::End(int wait_status) {
  pid_ = -1;
  return Judge(wait_status, wait_status == 0 ? std::string() : Printed());
}

}  // namespace quellmark::batch
