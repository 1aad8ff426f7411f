/// @file
/// Marks what the shared library shows to other programs.
#pragma once

/// Stands before everything that is exported; the rest of the library is hidden.
#define QM_API __attribute__((visibility("default")))
