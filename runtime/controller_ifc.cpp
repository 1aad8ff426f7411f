#include "runtime/controller_ifc.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <span>

#include "basic/errors.h"
#include "runtime/log.h"
#include "runtime/signal_hold.h"
#include "runtime/streams.h"

using namespace quellmark::runtime;

namespace {

constexpr int kExitStop = 2;
constexpr unsigned kDefaultInputSeconds = 120;

// The names of the signals from 1 on. People and programs read them: kept exactly.
constexpr std::array<std::string_view, 31> kSignalNames = {
    "hangup",
    "interrupt (rubout)",
    "quit (ASCII FS)",
    "illegal instruction (not reset when caught)",
    "trace trap (not reset when caught)",
    "IOT instruction",
    "bus error",
    "floating point exception",
    "kill (cannot be caught or ignored)",
    "user defined signal 1",
    "segmentation violation",
    "user defined signal 2",
    "write on a pipe with no one to read it",
    "alarm clock",
    "software termination signal from kill",
    "stack fault",
    "child status change",
    "stopped process has been continued",
    "stop (cannot be caught or ignored)",
    "user stop requested from tty",
    "background tty read attempted",
    "background tty write attempted",
    "urgent socket condition",
    "exceeded cpu limit",
    "exceeded file size limit",
    "virtual timer expired",
    "profiling timer expired",
    "window size change",
    "pollable event occurred",
    "power-fail restart",
    "bad argument to system call",
};

// The controller whose name and files the signal handler uses.
std::atomic<CONTROLLER_IFC*>& Registered() {
  static std::atomic<CONTROLLER_IFC*> registered = nullptr;
  return registered;
}

// Gives the handler a stack of its own, which it needs when the program's stack is exhausted.
void InstallSignalStack() {
  static std::array<char, 65536> stack;
  stack_t present{};
  if (::sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) == 0) return;
  stack_t own{};
  own.ss_sp = stack.data();
  own.ss_size = stack.size();
  static_cast<void>(::sigaltstack(&own, nullptr));
}

// Writes the digit into a new file. A file that could not be written is removed again.
bool WriteBeside(const char* path, char digit) {
  const int fd = ::open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
  if (fd < 0) return false;
  const bool written = WriteQuietly(fd, {&digit, 1});
  if (::close(fd) == 0 && written) return true;
  static_cast<void>(::unlink(path));
  return false;
}

// Changes the digit of a status file that exists. This is the last resort on a full disk or in a
// directory that takes no new file: the one byte needs no further room.
bool Overwrite(const char* path, char digit) {
  const int fd = ::open(path, O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW);
  if (fd < 0) return false;
  struct stat status {};
  const bool written = ::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
                       WriteQuietly(fd, {&digit, 1}) && ::ftruncate(fd, 1) == 0;
  return ::close(fd) == 0 && written;
}

// The outcome of an exchange of status files; `remove_error` is 0 or the errno of the removal.
struct Exchange {
  int remove_error = 0;
  bool is_left = false;
};

// Removes the status file `gone` and leaves the digit in `left`. The digit is written to `beside`,
// which is then renamed, so that nobody finds an empty status file. Between the two steps there is
// no status file for a moment. May be called in a signal handler.
Exchange ExchangeFiles(const char* beside, const char* gone, const char* left, char digit) {
  Exchange done;
  const bool prepared = WriteBeside(beside, digit);
  if (::unlink(gone) != 0 && errno != ENOENT && errno != ENOTDIR) done.remove_error = errno;
  done.is_left = prepared && ::rename(beside, left) == 0;
  if (prepared && !done.is_left) static_cast<void>(::unlink(beside));
  if (!done.is_left) done.is_left = Overwrite(left, digit);
  return done;
}

unsigned InputSeconds() {
  const char* const text = std::getenv("SECONDS_ON_PARAMETER_INPUT");
  if (text == nullptr) return kDefaultInputSeconds;
  const std::string_view digits(text);
  unsigned seconds = 0;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
  const bool valid = error == std::errc() && stop == digits.data() + digits.size() && seconds > 0;
  return valid ? seconds : kDefaultInputSeconds;
}

// Unblocks signals, which the program's starter may have left blocked.
void Unblock(std::span<const int> numbers) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : numbers) sigaddset(&signals, number);
  static_cast<void>(::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr));
}

// Makes SIGALRM end the process, whatever disposition was inherited.
void LetAlarmEndTheProcess() {
  static_cast<void>(std::signal(SIGALRM, SIG_DFL));
  Unblock(std::array{SIGALRM});
}

std::string_view LastComponent(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

namespace quellmark::runtime {

bool PathBuffer::Assign(std::initializer_list<std::string_view> pieces) {
  std::size_t length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  if (length >= text_.size()) return false;
  char* end = text_.data();
  for (const std::string_view piece : pieces) end += piece.copy(end, piece.size());
  *end = '\0';
  return true;
}

void PathBuffer::AssignOrFail(std::initializer_list<std::string_view> pieces,
                              std::string_view parameter) {
  if (Assign(pieces)) return;
  Fail<ERROR_PARAMETER>("value of ", parameter, " is too long for a path of 255 characters");
}

std::string_view SignalName(int number) {
  const auto index = static_cast<std::size_t>(number) - 1;
  return index < kSignalNames.size() ? kSignalNames[index] : std::string_view();
}

}  // namespace quellmark::runtime

CONTROLLER_IFC::CONTROLLER_IFC() noexcept { Log().Initialise(); }

CONTROLLER_IFC::~CONTROLLER_IFC() {
  CONTROLLER_IFC* self = this;
  Registered().compare_exchange_strong(self, nullptr);
  Log().Release();
}

void CONTROLLER_IFC::init(int argc, char** argv, int message_mode) {
  argc_ = argc;
  argv_ = argv;
  message_mode_ = message_mode != 0;
  Registered() = this;
  InstallSignalHandler();
  FindProcessName();
  FindStatusFiles();
  Unblock(kFatalSignals);  // the handler now knows every path that it needs
  OpenConfigurationFile();
  MoveLog();
  SetThresholds();
  ObeyStopFile();
  ExchangeStatusFiles(ok_file_, error_file_, '1');
}

std::string CONTROLLER_IFC::get_binary_name() {
  if (!named_) {
    LogLine(LogLevel::kWarning,
            "CONTROLLER_IFC::get_binary_name: Controller interface not initialized!\n");
    LogLine(LogLevel::kWarning,
            "Function CONTROLLER_IFC::init must be called before accessing a controller object!");
    static_cast<void>(process_name_.Assign({"unknown"}));
    named_ = true;
  }
  return std::string(process_name_.View());
}

void CONTROLLER_IFC::InstallSignalHandler() {
  InstallSignalStack();
  struct sigaction action {};
  action.sa_sigaction = &HandleSignal;
  // The signals are not blocked while the handler runs, so that a second one ends the process.
  // Signals that the handler's own writing may raise are blocked.
  action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  sigaddset(&action.sa_mask, SIGPIPE);
  sigaddset(&action.sa_mask, SIGXFSZ);
  for (const int number : kFatalSignals) {
    static_cast<void>(::sigaction(number, &action, nullptr));
  }
}

// Calls only what is safe in a signal handler; its texts stand in fixed buffers.
void CONTROLLER_IFC::HandleSignal(int number, siginfo_t* info, void* /*context*/) {
  // Ignores the SIGXFSZ of a write that is to fail quietly, for example to a log at its size limit.
  const bool own = info->si_code == SI_USER && info->si_pid == ::getpid();
  if (number == SIGXFSZ && own && IsWritingQuietly()) return;
  static std::atomic_flag entered;
  if (entered.test_and_set()) ::_exit(EXIT_FAILURE);

  std::array<char, 12> buffer;
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
  const std::string_view digits(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
  Log().WriteFromSignal(LogLevel::kAlarm, {"got fatal signal ", digits, ": ", SignalName(number)});
  const CONTROLLER_IFC* const controller = Registered();
  if (controller == nullptr) ::_exit(-1);
  if (controller->message_mode_) {
    Log().WriteFromSignal(LogLevel::kAlarm, {"KVT_MSG|ERROR|", controller->process_name_.View(),
                                             " got fatal signal ", digits});
  }
  if (controller->status_files_known_) {
    const char* const beside = controller->beside_file_.data();
    static_cast<void>(::unlink(beside));  // left by an exchange that the signal interrupted
    const PathBuffer& ok = controller->ok_file_;
    const PathBuffer& error = controller->error_file_;
    const Exchange done = ExchangeFiles(beside, ok.Text(), error.Text(), '1');
    if (done.remove_error != 0) {
      Log().WriteFromSignal(LogLevel::kWarning, {"Can not remove file ", ok.View()});
    }
    if (!done.is_left) {
      Log().WriteFromSignal(LogLevel::kWarning, {"Can not create file ", error.View()});
    }
  }
  ::_exit(EXIT_FAILURE);
}

void CONTROLLER_IFC::ExchangeStatusFiles(const PathBuffer& gone, const PathBuffer& left,
                                         char digit) const {
  const Exchange done = ExchangeFiles(beside_file_.data(), gone.Text(), left.Text(), digit);
  if (done.remove_error != 0) {
    LogLine(LogLevel::kWarning, "Can not remove file ", gone.View(), ": ",
            std::strerror(done.remove_error));
  }
  if (!done.is_left) LogLine(LogLevel::kWarning, "Can not create file ", left.View());
}

void CONTROLLER_IFC::SetProcessName(std::string_view name, std::string_view parameter) {
  const SignalHold hold;
  process_name_.AssignOrFail({name}, parameter);
  named_ = true;
  Log().SetProcessName(name);
}

void CONTROLLER_IFC::FindProcessName() {
  SetProcessName(argc_ > 0 ? LastComponent(argv_[0]) : "unknown", "argument 0");
  std::string_view name;
  pid_given_ = FindEarly("pid", name);
  if (pid_given_) SetProcessName(name, "parameter pid");
  LogLine(LogLevel::kTrace, "binary name is ", process_name_.View());
}

void CONTROLLER_IFC::FindStatusFiles() {
  std::string_view directory;
  const bool given = FindEarly("status", directory);
  const std::string_view slash = directory.empty() || directory.ends_with('/') ? "" : "/";
  LogLine(LogLevel::kTrace, "status path is [", directory, slash, "]\n");

  const std::string_view name = process_name_.View();
  const bool blame_directory = given && directory.size() + slash.size() > name.size();
  const std::string_view blamed = blame_directory ? "parameter status" : NameSource();
  error_file_.AssignOrFail({directory, slash, "ERROR.", name}, blamed);
  ok_file_.AssignOrFail({directory, slash, "OK.", name}, blamed);
  stop_file_.AssignOrFail({directory, slash, "STOP.", name}, blamed);
  NameBesideFile(error_file_.View().substr(0, directory.size() + slash.size()));
  status_files_known_ = true;
}

// The name must be unique even in a directory that several hosts share.
void CONTROLLER_IFC::NameBesideFile(std::string_view directory) {
  timespec now{};
  static_cast<void>(::clock_gettime(CLOCK_REALTIME, &now));
  static_cast<void>(std::snprintf(beside_file_.data(), beside_file_.size(), "%.*s.status.%ld.%09ld",
                                  static_cast<int>(directory.size()), directory.data(),
                                  static_cast<long>(::getpid()), static_cast<long>(now.tv_nsec)));
}

void CONTROLLER_IFC::OpenConfigurationFile() {
  std::string_view path;
  if (FindEarly("pcf", path)) {
    configuration_.AssignOrFail({path}, "parameter pcf");
  } else {
    configuration_.AssignOrFail({"pcf.", process_name_.View()}, NameSource());
  }
  static_cast<void>(configuration_file_.Open(configuration_.Text()));
}

void CONTROLLER_IFC::MoveLog() {
  // "pid" is looked up again, because it may stand in the configuration file. That file is opened
  // too late to name the process, but a "pid" in it still makes the log a permanent file.
  std::string path;
  PathBuffer log_file;
  if (GetOptionalParameter("lfn", path)) {
    log_file.AssignOrFail({path}, "parameter lfn");
  } else if (HasParameter("pid") || Log().FilePath().empty()) {
    log_file.AssignOrFail({"log.", process_name_.View()}, NameSource());
  } else {
    static_cast<void>(log_file.Assign({Log().FilePath()}));
  }
  Log().Open(std::string(log_file.View()));
  if (!configuration_file_.IsOpen()) {
    LogLine(LogLevel::kWarning, "Configuration file ", configuration_.View(), " does not exist!\n");
  }
}

void CONTROLLER_IFC::SetThresholds() {
  std::string level;
  if (GetOptionalParameter("lfl", level)) {
    Log().SetFileThreshold(ParseLogLevel(level));
  }
  if (GetOptionalParameter("lsl", level)) {
    Log().SetScreenThreshold(ParseLogLevel(level));
  }
}

void CONTROLLER_IFC::ObeyStopFile() const {
  if (::access(stop_file_.Text(), F_OK) != 0) return;
  const std::string line(52, '=');
  LogLine(LogLevel::kInfo, line);
  LogLine(LogLevel::kInfo, "Program execution interrupted - STOP file was found!\n");
  LogLine(LogLevel::kInfo, line);
  LogLine(LogLevel::kInfo, "found file: ", stop_file_.View());
  std::exit(kExitStop);
}

void CONTROLLER_IFC::GetParameter(std::string_view name, std::string& value) {
  if (!GetOptionalParameter(name, value)) AskKeyboard(name, value);
}

bool CONTROLLER_IFC::GetOptionalParameter(std::string_view name, std::string& value) {
  std::string_view found;
  if (FindArgument(name, found)) {
    value = found;
    return true;
  }
  if (FindInConfigurationFile(name, value)) return true;
  if (!FindInEnvironment(name, found)) return false;
  value = found;
  return true;
}

bool CONTROLLER_IFC::FindEarly(std::string_view name, std::string_view& value) const {
  return FindArgument(name, value) || FindInEnvironment(name, value);
}

bool CONTROLLER_IFC::HasParameter(std::string_view name) {
  std::string value;
  return GetOptionalParameter(name, value);
}

bool CONTROLLER_IFC::FindArgument(std::string_view name, std::string_view& value) const {
  // The search runs backwards, so that the last value wins. A name in the last place has no value
  // and is ignored.
  for (int i = argc_ - 2; i >= 1; --i) {
    const std::string_view argument = argv_[i];
    if (!argument.starts_with('-') || argument.substr(1) != name) continue;
    value = argv_[i + 1];
    LogLine(LogLevel::kDebug, "Found parameter in argument list ", name, " = ", value);
    return true;
  }
  LogLine(LogLevel::kTrace, "Parameter ", name, " not found in argument list!\n");
  return false;
}

bool CONTROLLER_IFC::FindInConfigurationFile(std::string_view name, std::string& value) {
  if (!configuration_file_.Find(name, value)) return false;
  LogLine(LogLevel::kDebug, "Found parameter ", name, " = ", value);
  return true;
}

bool CONTROLLER_IFC::FindInEnvironment(std::string_view name, std::string_view& value) {
  const char* const found = std::getenv(std::string(name).c_str());
  if (found == nullptr) {
    LogLine(LogLevel::kTrace, "parameter ", name, " not found in UNIX environment\n");
    return false;
  }
  value = found;
  LogLine(LogLevel::kDebug, "Found parameter in UNIX environment ", name, " = ", value);
  return true;
}

void CONTROLLER_IFC::AskKeyboard(std::string_view name, std::string& value) {
  LogLine(LogLevel::kWarning, "No configuration file or parameter not found!\n");
  LogLine(LogLevel::kWarning, "\t  Please input value of parameter : <", name, ">\n");
  const unsigned seconds = InputSeconds();
  LogLine(LogLevel::kDebug, "waiting ", seconds, " seconds for input\n");
  LetAlarmEndTheProcess();
  ::alarm(seconds);
  WriteQuietly(STDOUT_FILENO, std::string(name) + " := ");
  const bool found = keyboard_.ReadWord(value);
  ::alarm(0);
  if (!found) {
    WriteQuietly(STDOUT_FILENO, "\n");  // ends the prompt's line
    Fail<ERROR_PARAMETER>("no value for parameter ", name, ": the input has ended");
  }
  LogLine(LogLevel::kDebug, "Read from keyboard parameter ", name, " = ", value);
}

std::string_view CONTROLLER_IFC::NameSource() const {
  return pid_given_ ? "parameter pid" : "argument 0";
}

int CONTROLLER_IFC::SuccessReturn() {
  configuration_file_.Close();
  if (status_files_known_) ExchangeStatusFiles(error_file_, ok_file_, '0');
  return EXIT_SUCCESS;
}

int CONTROLLER_IFC::FailureReturn() {
  configuration_file_.Close();
  if (status_files_known_) ExchangeStatusFiles(ok_file_, error_file_, '1');
  return EXIT_FAILURE;
}

void CONTROLLER_IFC::SuccessExit() { std::exit(SuccessReturn()); }

void CONTROLLER_IFC::FailureExit() { std::exit(FailureReturn()); }
