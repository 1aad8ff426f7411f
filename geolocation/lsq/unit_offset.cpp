#include "geolocation/lsq/unit_offset.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "basic/array.h"

namespace {

using quellmark::basic::ShiftedTo;

constexpr std::size_t kSpareElements = 1;
constexpr std::size_t kImpossible = static_cast<std::size_t>(-1);

// The number of indices low..high. If no such number exists, returns one that cannot be allocated.
std::size_t Count(long low, long high) {
  long distance = 0;
  if (__builtin_sub_overflow(high, low, &distance) || distance < -1) return kImpossible;
  return static_cast<std::size_t>(distance) + 1;
}

std::size_t Product(std::size_t a, std::size_t b) {
  std::size_t product = 0;
  return __builtin_mul_overflow(a, b, &product) ? kImpossible : product;
}

template <class T>
T* Allocate(std::size_t count, const char* message) {
  std::size_t elements = 0;
  std::size_t bytes = 0;
  if (__builtin_add_overflow(count, kSpareElements, &elements) ||
      __builtin_mul_overflow(elements, sizeof(T), &bytes)) {
    fail_run_time(message);
  }
  void* const storage = std::malloc(bytes);
  if (storage == nullptr) fail_run_time(message);
  return static_cast<T*>(storage);
}

template <class T>
T* AllocateVector(long low, long high, const char* message) {
  return ShiftedTo(low, Allocate<T>(Count(low, high), message));
}

// a - b if it fits; otherwise it wraps, as addresses do.
long Difference(long a, long b) {
  return static_cast<long>(static_cast<unsigned long>(a) - static_cast<unsigned long>(b));
}

// The element with the index `low`.
template <class T>
T* First(T* shifted, long low) {
  return ShiftedTo(Difference(0, low), shifted);
}

template <class T>
void Free(T* shifted, long low) {
  std::free(First(shifted, low));
}

// Shifted row pointers to consecutive rows of `elements`. The first one is set even if there are no
// rows (it is then the spare one), because freeing needs it to find the elements.
template <class T>
T** LinkRows(T** rows, std::size_t row_count, long row_low, T* elements, std::size_t column_count,
             long column_low) {
  rows[0] = ShiftedTo(column_low, elements);
  for (std::size_t i = 1; i < row_count; ++i) {
    rows[i] = ShiftedTo(column_low, elements + i * column_count);
  }
  return ShiftedTo(row_low, rows);
}

template <class T>
T** AllocateMatrix(long row_low, long row_high, long column_low, long column_high) {
  const std::size_t rows = Count(row_low, row_high);
  const std::size_t columns = Count(column_low, column_high);
  T** const links = Allocate<T*>(rows, "allocation failure 1 in matrix()");
  T* const elements = Allocate<T>(Product(rows, columns), "allocation failure 2 in matrix()");
  return LinkRows(links, rows, row_low, elements, columns, column_low);
}

template <class T>
void FreeMatrix(T** m, long row_low, long column_low) {
  Free(*First(m, row_low), column_low);
  Free(m, row_low);
}

}  // namespace

void fail_run_time(const char* message) {
  std::fputs("Numerical Recipes run-time error...\n", stderr);
  std::fprintf(stderr, "%s\n", message);
  std::fputs("...now exiting to system...\n", stderr);
  std::exit(1);
}

float* vector(long low, long high) {
  return AllocateVector<float>(low, high, "allocation failure in vector()");
}

int* ivector(long low, long high) {
  return AllocateVector<int>(low, high, "allocation failure in ivector()");
}

unsigned char* cvector(long low, long high) {
  return AllocateVector<unsigned char>(low, high, "allocation failure in cvector()");
}

long* lvector(long low, long high) {
  return AllocateVector<long>(low, high, "allocation failure in lvector()");
}

double* dvector(long low, long high) {
  return AllocateVector<double>(low, high, "allocation failure in dvector()");
}

void free_vector(float* v, long low, long /*high*/) { Free(v, low); }
void free_ivector(int* v, long low, long /*high*/) { Free(v, low); }
void free_cvector(unsigned char* v, long low, long /*high*/) { Free(v, low); }
void free_lvector(long* v, long low, long /*high*/) { Free(v, low); }
void free_dvector(double* v, long low, long /*high*/) { Free(v, low); }

float** matrix(long row_low, long row_high, long column_low, long column_high) {
  return AllocateMatrix<float>(row_low, row_high, column_low, column_high);
}

double** dmatrix(long row_low, long row_high, long column_low, long column_high) {
  return AllocateMatrix<double>(row_low, row_high, column_low, column_high);
}

int** imatrix(long row_low, long row_high, long column_low, long column_high) {
  return AllocateMatrix<int>(row_low, row_high, column_low, column_high);
}

void free_matrix(float** m, long row_low, long /*row_high*/, long column_low,
                 long /*column_high*/) {
  FreeMatrix(m, row_low, column_low);
}

void free_dmatrix(double** m, long row_low, long /*row_high*/, long column_low,
                  long /*column_high*/) {
  FreeMatrix(m, row_low, column_low);
}

void free_imatrix(int** m, long row_low, long /*row_high*/, long column_low, long /*column_high*/) {
  FreeMatrix(m, row_low, column_low);
}

float** submatrix(float** a, long old_row_low, long old_row_high, long old_column_low,
                  long /*old_column_high*/, long new_row_low, long new_column_low) {
  const std::size_t rows = Count(old_row_low, old_row_high);
  float** const links = Allocate<float*>(rows, "allocation failure in submatrix()");
  for (std::size_t i = 0; i < rows; ++i) {
    links[i] = ShiftedTo(Difference(new_column_low, old_column_low), First(a, old_row_low)[i]);
  }
  return ShiftedTo(new_row_low, links);
}

void free_submatrix(float** m, long row_low, long /*row_high*/, long /*column_low*/,
                    long /*column_high*/) {
  Free(m, row_low);
}

float** convert_matrix(float* a, long row_low, long row_high, long column_low, long column_high) {
  const std::size_t rows = Count(row_low, row_high);
  float** const links = Allocate<float*>(rows, "allocation failure in convert_matrix()");
  return LinkRows(links, rows, row_low, a, Count(column_low, column_high), column_low);
}

void free_convert_matrix(float** m, long row_low, long /*row_high*/, long /*column_low*/,
                         long /*column_high*/) {
  Free(m, row_low);
}

float*** f3tensor(long row_low, long row_high, long column_low, long column_high, long depth_low,
                  long depth_high) {
  const std::size_t rows = Count(row_low, row_high);
  const std::size_t columns = Count(column_low, column_high);
  const std::size_t depths = Count(depth_low, depth_high);
  const std::size_t lines = Product(rows, columns);
  float*** const tables = Allocate<float**>(rows, "allocation failure 1 in f3tensor()");
  float** const links = Allocate<float*>(lines, "allocation failure 2 in f3tensor()");
  float* const elements =
      Allocate<float>(Product(lines, depths), "allocation failure 3 in f3tensor()");
  LinkRows(links, lines, 0, elements, depths, depth_low);
  return LinkRows(tables, rows, row_low, links, columns, column_low);
}

void free_f3tensor(float*** t, long row_low, long /*row_high*/, long column_low,
                   long /*column_high*/, long depth_low, long /*depth_high*/) {
  float** const links = *First(t, row_low);
  Free(*First(links, column_low), depth_low);
  Free(links, column_low);
  Free(t, row_low);
}
