// Vectors and matrices whose indices run between bounds chosen by the caller, usually from 1, and
// the end of the plain solvers when something fails. Storage comes from malloc() with one spare
// element. It belongs to the caller, who returns it to the matching free routine with the same
// bounds. Bounds are inclusive; `high` is at least `low` - 1. A failure ends in fail_run_time().
#pragma once

/// Writes to standard error, in three lines, that the process ends because of `message`, and ends
/// it with exit(1). This is deliberate: the plain solvers neither return nor throw when they fail.
[[noreturn]] void fail_run_time(const char* message);

[[nodiscard]] float* vector(long low, long high);
[[nodiscard]] int* ivector(long low, long high);
[[nodiscard]] unsigned char* cvector(long low, long high);
[[nodiscard]] long* lvector(long low, long high);
[[nodiscard]] double* dvector(long low, long high);

void free_vector(float* v, long low, long high);
void free_ivector(int* v, long low, long high);
void free_cvector(unsigned char* v, long low, long high);
void free_lvector(long* v, long low, long high);
void free_dvector(double* v, long low, long high);

/// `m[row][column]`: a block of row pointers and one of elements.
[[nodiscard]] float** matrix(long row_low, long row_high, long column_low, long column_high);
[[nodiscard]] double** dmatrix(long row_low, long row_high, long column_low, long column_high);
[[nodiscard]] int** imatrix(long row_low, long row_high, long column_low, long column_high);

void free_matrix(float** m, long row_low, long row_high, long column_low, long column_high);
void free_dmatrix(double** m, long row_low, long row_high, long column_low, long column_high);
void free_imatrix(int** m, long row_low, long row_high, long column_low, long column_high);

/// The part old_row_low..old_row_high, old_column_low..old_column_high of `a`, under indices that
/// start at new_row_low and new_column_low. Shares the elements of `a`; only row pointers are
/// allocated.
[[nodiscard]] float** submatrix(float** a, long old_row_low, long old_row_high, long old_column_low,
                                long old_column_high, long new_row_low, long new_column_low);
void free_submatrix(float** m, long row_low, long row_high, long column_low, long column_high);

/// Rows over the flat array `a`, which holds the elements row by row and still belongs to the
/// caller.
[[nodiscard]] float** convert_matrix(float* a, long row_low, long row_high, long column_low,
                                     long column_high);
void free_convert_matrix(float** m, long row_low, long row_high, long column_low, long column_high);

/// `t[row][column][depth]`.
[[nodiscard]] float*** f3tensor(long row_low, long row_high, long column_low, long column_high,
                                long depth_low, long depth_high);
void free_f3tensor(float*** t, long row_low, long row_high, long column_low, long column_high,
                   long depth_low, long depth_high);
