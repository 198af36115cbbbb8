#include "core/result.h"

const char *pcl_result_find_name(PclResult_e code) {
    switch (code) {
    case PCL_RESULT_OK:
        return "PCL_RESULT_OK";
    case PCL_RESULT_RUNTIME_ERROR:
        return "PCL_RESULT_RUNTIME_ERROR";
    case PCL_RESULT_ILLEGAL_ARGUMENT:
        return "PCL_RESULT_ILLEGAL_ARGUMENT";
    case PCL_RESULT_ILLEGAL_STATE:
        return "PCL_RESULT_ILLEGAL_STATE";
    case PCL_RESULT_INDEX_OUT_OF_BOUNDS:
        return "PCL_RESULT_INDEX_OUT_OF_BOUNDS";
    case PCL_RESULT_MALLOC_ERROR:
        return "PCL_RESULT_MALLOC_ERROR";
    case PCL_RESULT_IO_ERROR:
        return "PCL_RESULT_IO_ERROR";
    case PCL_RESULT_TIMEOUT_ERROR:
        return "PCL_RESULT_TIMEOUT_ERROR";
    case PCL_RESULT_FILE_NOT_FOUND:
        return "PCL_RESULT_FILE_NOT_FOUND";
    case PCL_RESULT_ENCODING_ERROR:
        return "PCL_RESULT_ENCODING_ERROR";
    case PCL_RESULT_DEVICE_BUSY:
        return "PCL_RESULT_DEVICE_BUSY";
    case PCL_RESULT_PERMISSION_DENIED:
        return "PCL_RESULT_PERMISSION_DENIED";
    case PCL_RESULT_PROTOCOL_ERROR:
        return "PCL_RESULT_PROTOCOL_ERROR";
    case PCL_RESULT_CRYPT_ERROR:
        return "PCL_RESULT_CRYPT_ERROR";
    }
    return nullptr;
}
