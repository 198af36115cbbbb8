#pragma once

#include <cstdint>

/// The code of a failure. Signed 16-bit wherever it is stored or passed.
enum PclResult_e : std::int16_t {
    PCL_RESULT_OK = 0,
    PCL_RESULT_RUNTIME_ERROR = 1,
    PCL_RESULT_ILLEGAL_ARGUMENT = 2,
    PCL_RESULT_ILLEGAL_STATE = 3,
    PCL_RESULT_INDEX_OUT_OF_BOUNDS = 4,
    PCL_RESULT_MALLOC_ERROR = 5,
    PCL_RESULT_IO_ERROR = 6,
    PCL_RESULT_TIMEOUT_ERROR = 7,
    PCL_RESULT_FILE_NOT_FOUND = 8,
    PCL_RESULT_ENCODING_ERROR = 9,
    PCL_RESULT_DEVICE_BUSY = 10,
    PCL_RESULT_PERMISSION_DENIED = 11,
    PCL_RESULT_PROTOCOL_ERROR = 12,
    PCL_RESULT_CRYPT_ERROR = 13
};

/// The enumerator's name; null for any other value.
const char *pcl_result_find_name(PclResult_e code);
