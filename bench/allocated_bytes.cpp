#include "bench/allocated_bytes.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocated_bytes = 0;

}  // namespace

// These operators have a source file of their own, because g++ warns about a mismatch if it inlines
// them into their callers.
void* operator new(std::size_t size) {
  allocated_bytes += size;
  if (void* const memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  allocated_bytes += size;
  const auto step = static_cast<std::size_t>(alignment);
  if (void* const memory = std::aligned_alloc(step, (size + step - 1) / step * step)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

std::size_t quellmark::bench::AllocatedBytes() { return allocated_bytes; }
