// The enumerations of stored data.
#pragma once

#include "basic/enum_base.h"

namespace BASIC::TYPES {

inline constexpr EnumTable kDataType = {
    .class_name = "BASIC::TYPES::DataType",
    .parameter_name = "data_type",
    .values = {{"int_8"},      {"int_16"},     {"int_32"},    {"int_64"},    {"u_int_8"},
               {"u_int_16"},   {"u_int_32"},   {"u_int_64"},  {"flt_2"},     {"flt_6"},
               {"flt_15"},     {"flt_30"},     {"c_int_4"},   {"c_int_8"},   {"c_int_16"},
               {"c_int_32"},   {"c_int_64"},   {"c_u_int_4"}, {"c_u_int_8"}, {"c_u_int_16"},
               {"c_u_int_32"}, {"c_u_int_64"}, {"c_flt_2"},   {"c_flt_6"},   {"c_flt_15"},
               {"c_flt_30"},   {"rgb"},        {"others"}}};

inline constexpr EnumTable kPoolType = {.class_name = "BASIC::TYPES::PoolType",
                                        .parameter_name = "pool_type",
                                        .values = {{"software_names"},
                                                   {"software_versions"},
                                                   {"software_dates"},
                                                   {"software_start_times"},
                                                   {"software_end_times"},
                                                   {"software_execution_times"}}};

/// The sample types of raster data.
class DataType : public ENUMERATION<kDataType> {
 public:
  using ENUMERATION::ENUMERATION;
};

/// The pool entries that hold the processing history.
class PoolType : public ENUMERATION<kPoolType> {
 public:
  using ENUMERATION::ENUMERATION;
};

}  // namespace BASIC::TYPES
