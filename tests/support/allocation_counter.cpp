#include "tests/support/allocation_counter.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

std::atomic<std::size_t> allocation_count{0};
std::atomic<std::size_t> allocation_limit{kNoLimit};

void* Allocate(std::size_t size) noexcept {
  if (++allocation_count > allocation_limit) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

// All forms are replaced together, because a sanitizer would supply the others, and they would not
// match.
void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace quellmark::test {

std::size_t AllocationCount() { return allocation_count; }

AllocationLimit::AllocationLimit(std::size_t count) { allocation_limit = allocation_count + count; }
AllocationLimit::~AllocationLimit() { allocation_limit = kNoLimit; }

}  // namespace quellmark::test
