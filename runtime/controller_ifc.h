// The step's connection to the process controller that starts it: its name, its parameters, its
// status files and its end.
#pragma once

#include <array>
#include <atomic>
#include <csignal>
#include <initializer_list>
#include <string>
#include <string_view>

#include "runtime/configuration_file.h"
#include "runtime/keyboard.h"

namespace quellmark::runtime {

/// A path of at most 255 bytes in a fixed buffer, which a signal handler may read.
class PathBuffer {
 public:
  /// Joins the pieces. Returns false and changes nothing if they do not fit.
  bool Assign(std::initializer_list<std::string_view> pieces);
  /// Joins the pieces. If they do not fit, throws ERROR_PARAMETER and names `parameter` in the log.
  void AssignOrFail(std::initializer_list<std::string_view> pieces, std::string_view parameter);
  [[nodiscard]] const char* Text() const { return text_.data(); }
  [[nodiscard]] std::string_view View() const { return text_.data(); }

 private:
  std::array<char, 256> text_{};
};

/// The name of a signal for the log; empty outside 1 to 31.
[[nodiscard]] std::string_view SignalName(int number);

}  // namespace quellmark::runtime

/// One per process, created at the start of main. Its creation initialises the log.
class CONTROLLER_IFC {
 public:
  CONTROLLER_IFC() noexcept;
  CONTROLLER_IFC(const CONTROLLER_IFC&) = delete;
  CONTROLLER_IFC& operator=(const CONTROLLER_IFC&) = delete;
  ~CONTROLLER_IFC();

  /// Starts up: installs the handler of the fatal signals, finds process name, configuration file,
  /// log file and thresholds, ends the process with status 2 if there is a STOP file, and leaves
  /// the ERROR status file. Must be called before anything else; `argv` must outlive the
  /// controller. Allocates nothing before the paths of the status files are known, so that even a
  /// lack of memory can be reported by the ERROR status file. With a `message_mode` other than 0, a
  /// fatal signal writes its message line. Throws ERROR_PARAMETER if a path does not fit its
  /// buffer.
  void init(int argc, char** argv, int message_mode);

  /// The process name: "pid" or the program's file name. Before init(), it logs two warnings and
  /// the name is "unknown".
  [[nodiscard]] std::string get_binary_name();

  /// Looks `name` up in the argument list, the configuration file and the environment, then asks at
  /// the keyboard. Throws ERROR_PARAMETER if the keyboard's input has ended.
  void GetParameter(std::string_view name, std::string& value);
  /// As GetParameter(), but does not ask. Returns whether the parameter was found.
  bool GetOptionalParameter(std::string_view name, std::string& value);
  [[nodiscard]] bool HasParameter(std::string_view name);

  /// Leaves the OK (or ERROR) status file, then returns exit status 0 (or 1) or ends the process
  /// with it.
  [[nodiscard]] int SuccessReturn();
  [[nodiscard]] int FailureReturn();
  [[noreturn]] void SuccessExit();
  [[noreturn]] void FailureExit();

  void SwitchMessageModeOn() { message_mode_ = true; }
  /// The path of the configuration file, whether that file exists or not.
  [[nodiscard]] std::string ConfigurationFile() const { return std::string(configuration_.View()); }

 private:
  using PathBuffer = quellmark::runtime::PathBuffer;

  static void HandleSignal(int number, siginfo_t* info, void* context);
  void InstallSignalHandler();
  void SetProcessName(std::string_view name, std::string_view parameter);
  void NameBesideFile(std::string_view directory);
  void ExchangeStatusFiles(const PathBuffer& gone, const PathBuffer& left, char digit) const;
  void FindProcessName();
  void FindStatusFiles();
  void OpenConfigurationFile();
  void MoveLog();
  void SetThresholds();
  void ObeyStopFile() const;
  [[nodiscard]] std::string_view NameSource() const;

  // These two return views of the program's own arguments and environment.
  bool FindArgument(std::string_view name, std::string_view& value) const;
  bool FindInConfigurationFile(std::string_view name, std::string& value);
  static bool FindInEnvironment(std::string_view name, std::string_view& value);
  // The look-up before the configuration file is open.
  bool FindEarly(std::string_view name, std::string_view& value) const;
  void AskKeyboard(std::string_view name, std::string& value);

  int argc_ = 0;
  char** argv_ = nullptr;
  bool pid_given_ = false;
  bool named_ = false;
  std::atomic<bool> message_mode_ = false;
  std::atomic<bool> status_files_known_ = false;  // the signal handler may use their paths
  PathBuffer process_name_;
  PathBuffer ok_file_;
  PathBuffer stop_file_;
  PathBuffer error_file_;
  std::array<char, 320> beside_file_{};  // path of the file that is renamed to a status file
  PathBuffer configuration_;
  quellmark::runtime::ConfigurationFile configuration_file_;
  quellmark::runtime::Keyboard keyboard_;
};
