// Divides the points of a call among threads.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "imaging/locate.h"

namespace quellmark::imaging {

/// The number of points that a thread takes at a time: some tenths of a millisecond of work.
inline constexpr std::uint64_t kChunkPoints = 4096;

/// Runs a call over all its points, chunk by chunk, on the calling thread and on `threads` - 1
/// more. `make_worker()` returns a worker for one thread. worker.Do(first, last, count) computes
/// points, worker.Skip(first, last, count) marks them as not computed; both count them by status.
template <class MakeWorker>
class ChunkRun {
 public:
  ChunkRun(std::uint64_t points, const Execution& execution, const MakeWorker& make_worker)
      : points_(points), execution_(execution), make_worker_(make_worker) {}

  Summary Run() {
    const std::uint64_t chunks = (points_ + kChunkPoints - 1) / kChunkPoints;
    std::uint64_t threads = execution_.threads != 0
                                ? execution_.threads
                                : std::max(1U, std::thread::hardware_concurrency());
    threads = std::min(threads, chunks);
    std::vector<std::thread> helpers;
    helpers.reserve(threads);
    try {
      while (helpers.size() + 1 < threads) {
        helpers.emplace_back([this] { Work(false); });
      }
    } catch (const std::system_error&) {
      // The system has no more threads, so those that run do all the work.
    }
    Work(true);
    for (std::thread& helper : helpers) helper.join();
    if (failure_) std::rethrow_exception(failure_);
    if (execution_.progress && !summary_.cancelled) execution_.progress(points_, points_);
    return summary_;
  }

 private:
  void Work(bool is_caller) {
    std::array<std::uint64_t, kPointStatusCount> count{};
    try {
      auto worker = make_worker_();
      while (!failed_) {
        const std::uint64_t first = next_.fetch_add(kChunkPoints);
        if (first >= points_) break;
        const std::uint64_t last = std::min(first + kChunkPoints, points_);
        if (cancelled_) {
          worker->Skip(first, last, count);
          continue;
        }
        worker->Do(first, last, count);
        const std::uint64_t done = done_.fetch_add(last - first) + (last - first);
        if (is_caller && done < points_ && execution_.progress &&
            !execution_.progress(done, points_)) {
          cancelled_ = true;
        }
      }
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!failure_) failure_ = std::current_exception();
      failed_ = true;
    }
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 0; i < count.size(); ++i) summary_.count[i] += count[i];
    summary_.cancelled = summary_.cancelled || cancelled_;
  }

  std::uint64_t points_;
  const Execution& execution_;
  const MakeWorker& make_worker_;
  std::atomic<std::uint64_t> next_ = 0;
  std::atomic<std::uint64_t> done_ = 0;
  std::atomic<bool> cancelled_ = false;
  std::atomic<bool> failed_ = false;
  std::mutex mutex_;
  std::exception_ptr failure_;
  Summary summary_;
};

/// Throws ERROR_ARGUMENT after an ALARM line for an invalid geometry.
void CheckGeometry(const ImageGeometry& image);
/// Throws ERROR_ARGUMENT after an ALARM line unless `size` is 0 or `points`.
void CheckLength(const char* name, std::size_t size, std::size_t points);

}  // namespace quellmark::imaging
