/// @file
/// Marks the names that the shared library exports.
#pragma once

/// Stands before every exported name. All other names are hidden.
#define QM_API __attribute__((visibility("default")))
