#include "core/result.h"

#include "tests/support/failures.h"

#include <gtest/gtest.h>

TEST(Result, EveryCodeHasItsNumberAndName) {
    const char *const names[] = {
        "PCL_RESULT_OK",
        "PCL_RESULT_RUNTIME_ERROR",
        "PCL_RESULT_ILLEGAL_ARGUMENT",
        "PCL_RESULT_ILLEGAL_STATE",
        "PCL_RESULT_INDEX_OUT_OF_BOUNDS",
        "PCL_RESULT_MALLOC_ERROR",
        "PCL_RESULT_IO_ERROR",
        "PCL_RESULT_TIMEOUT_ERROR",
        "PCL_RESULT_FILE_NOT_FOUND",
        "PCL_RESULT_ENCODING_ERROR",
        "PCL_RESULT_DEVICE_BUSY",
        "PCL_RESULT_PERMISSION_DENIED",
        "PCL_RESULT_PROTOCOL_ERROR",
        "PCL_RESULT_CRYPT_ERROR",
    };
    std::int16_t code = 0;
    for (const char *name : names) {
        EXPECT_STREQ(pcl_result_to_string(static_cast<PclResult_e>(code)), name);
        ++code;
    }
    EXPECT_EQ(PCL_RESULT_CRYPT_ERROR, 13);
    EXPECT_EQ(sizeof(PclResult_e), 2U);
}

TEST(Result, UnknownCodesAreRefused) {
    EXPECT_FAILURE(pcl_result_to_string(static_cast<PclResult_e>(14)), PCL_RESULT_RUNTIME_ERROR,
                   "Unhandled PclResult_e: 14\n");
    EXPECT_FAILURE(pcl_result_to_string(static_cast<PclResult_e>(-1)), PCL_RESULT_RUNTIME_ERROR,
                   "Unhandled PclResult_e: -1\n");

    const ScopedHandler handler;
    EXPECT_STREQ(pcl_result_to_string(static_cast<PclResult_e>(99)), "");
    EXPECT_EQ(handler.message(), "[PCL_RESULT_RUNTIME_ERROR] Unhandled PclResult_e: 99\n");
}
