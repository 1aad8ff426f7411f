/// @file
/// The exceptions of this library.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <quellmark/export.h>

namespace quellmark {

/// The kind of a failure. All values but the last three are the classes of failures of the batch
/// step, with the text that the step reports.
enum class ErrorClass : int {
  kError,            ///< "error occurred"
  kMemory,           ///< "allocation error"
  kNoMemory,         ///< "not enough memory"
  kProcessing,       ///< "processing error"
  kArgument,         ///< "wrong argument"
  kAlgorithm,        ///< "algorithm error"
  kUnhandledCase,    ///< "case not handled in if or switch block"
  kNotImplemented,   ///< "fct or algorithm not implemented"
  kInvalidValue,     ///< "invalid value"
  kData,             ///< "data error"
  kParameter,        ///< "parameter error"
  kImage,            ///< "image data error"
  kDemDocumentType,  ///< "unknown DEM document type"
  kDemArguments,     ///< "invalid argument in DEM_IFC"
  kDemNoTile,  ///< "no given subtile document (e.g SRF) for given DEM location. Possibly DEM tile
               ///< too small"
  kDemDescriptor,        ///< "invalid / missing DEM descriptor item"
  kDemOnlyVoids,         ///< "only specially coded values available for DEM height interpolation"
  kDemPixelType,         ///< "not supported pixel type"
  kIo,                   ///< "I/O error"
  kCanNotCreateFile,     ///< "can not create file"
  kCanNotOpenFile,       ///< "can not open file"
  kDemCanNotOpenTile,    ///< "cannot open DEM subdocument"
  kCanNotReadFile,       ///< "can not read from file"
  kDemCanNotReadTile,    ///< "cannot read DEM subdocument"
  kCanNotWriteFile,      ///< "can not write into file"
  kCanNotSeekFile,       ///< "can not lseek in file"
  kCanNotMapFile,        ///< "mmap failed"
  kCanNotSyncFile,       ///< "msync failed"
  kNoDiskSpace,          ///< "not enough disk space"
  kDemNotInitialized,    ///< "DEM interface not initialized"
  kDemInitializedTwice,  ///< "DEM interface already initialized"
  kDemHandle,            ///< "invalid DEM handle"
  kPool,                 ///< "parameter pool error"
  kPoolCorrupted,        ///< "pool error - corrupted parameter pool file"
  kPoolInvalidValue,     ///< "pool error - no or invalid parameter value in file"
  kPoolWrongType,        ///< "pool error - wrong parameter type"
  kPoolOutOfBounds,      ///< "pool error - parameter value out of bounds"
  kPoolCanNotRename,     ///< "pool error - Update() : can not rename parameter file"
  kPoolNoPermission,     ///< "pool error - parameter pool update(): insufficient file permission"
  kPoolCanNotOpen,       ///< "pool error - can not open parameter pool"
  kPoolKeyTooLong,       ///< "pool error - key too long"
  kPoolKeyExists,        ///< "pool error - key already exists"
  kPoolKeyNotFound,      ///< "pool error - key not found"
  kEnum,                 ///< "enumeration data type error"
  kEnumInvalidId,        ///< "enumeration data type - invalid id"
  kEnumTypeMismatch,     ///< "enumeration data type - type mismatch"
  kEnumLimit,            ///< "enumeration data type - limit of enumeration expired"
  kEnumInvalidValue,     ///< "enumeration data type - invalid value"
  kText,                 ///< "failure that is told by its text alone"
  kStandard,             ///< "failure of the C++ library"
  kCancelled,            ///< "cancelled"
};

/// Returns the text of the class, as listed above.
[[nodiscard]] QM_API std::string_view MessageOf(ErrorClass error_class) noexcept;
/// Returns the class of which `error_class` is a special case, or itself if there is none.
[[nodiscard]] QM_API ErrorClass BaseOf(ErrorClass error_class) noexcept;
/// Whether `error_class` is `base` or a direct or indirect special case of it. All failures of
/// pools are kPool; all but the last three values are kError.
[[nodiscard]] QM_API bool IsA(ErrorClass error_class, ErrorClass base) noexcept;

/// Everything about one failure.
struct ErrorDetails {
  ErrorClass error_class = ErrorClass::kError;  ///< kind of the failure
  std::string file;                             ///< the file concerned, or ""
  std::string key;                              ///< the pool key concerned, or ""
  std::size_t line = 0;                         ///< the line of that key, from 1; 0 if unknown
  std::vector<std::string> log_lines;           ///< the log lines of the failure, oldest first
};

/// The base of all exceptions of this library. what() is one line that says what failed, in which
/// file and under which key. Copies are cheap and never throw. A lack of memory is an Error of the
/// class kNoMemory.
class QM_API Error : public std::runtime_error {
 public:
  /// Takes over the details; `what` is the line for what().
  Error(const std::string& what, ErrorDetails details);
  /// Shares the details.
  Error(const Error&) noexcept = default;
  /// Shares the details.
  Error& operator=(const Error&) noexcept = default;
  ~Error() override;

  /// The kind of the failure.
  [[nodiscard]] ErrorClass Class() const noexcept { return details_->error_class; }
  /// The file that the failure concerns, or "".
  [[nodiscard]] const std::string& File() const noexcept { return details_->file; }
  /// The pool key that the failure concerns, or "".
  [[nodiscard]] const std::string& Key() const noexcept { return details_->key; }
  /// The line of that key in the file, from 1; 0 if unknown.
  [[nodiscard]] std::size_t Line() const noexcept { return details_->line; }
  /// The log lines of the failure, oldest first, without line ends.
  [[nodiscard]] const std::vector<std::string>& LogLines() const noexcept {
    return details_->log_lines;
  }

 private:
  std::shared_ptr<const ErrorDetails> details_;
};

/// A call that is wrong for any data, such as one with spans of different lengths.
class QM_API ArgumentError : public Error {
 public:
  using Error::Error;
  ~ArgumentError() override;
};

/// A failure of a pool: of its file, an entry or an update.
class QM_API PoolError : public Error {
 public:
  using Error::Error;
  ~PoolError() override;
};

/// A failure of an orbit: of its description or state vectors, or a time that it does not cover.
class QM_API OrbitError : public Error {
 public:
  using Error::Error;
  ~OrbitError() override;
};

/// A failure of a DEM: of its descriptor or tiles, or a place without height.
class QM_API DemError : public Error {
 public:
  using Error::Error;
  ~DemError() override;
};

/// A failure of a scene: of its parameters, or an image position without a point on the ground.
class QM_API SceneError : public Error {
 public:
  using Error::Error;
  ~SceneError() override;
};

/// The caller's progress function has cancelled a call.
class QM_API CancelledError : public Error {
 public:
  using Error::Error;
  ~CancelledError() override;
};

}  // namespace quellmark
