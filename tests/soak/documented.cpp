#include "tests/soak/documented.h"

#include <fnmatch.h>

#include <string>

namespace soak {

namespace {

struct Documented {
    unsigned causes;
    PclResult_e code;
    /// The text after the name of the code; '*' stands for what the device determines.
    const char *detail;
};

constexpr Documented TABLE[] = {
    {AT_ACK | AT_RESPONSE | AT_ABORT, PCL_RESULT_TIMEOUT_ERROR, "Timeout waiting for data"},
    {AT_RESPONSE, PCL_RESULT_TIMEOUT_ERROR, "No response in 3 attempts"},
    {AT_ACK, PCL_RESULT_PROTOCOL_ERROR, "Packet was rejected"},
    {AT_ACK, PCL_RESULT_PROTOCOL_ERROR, "Protocol error (unknown packet response: 0x*)"},
    {AT_RESPONSE, PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected SYN, read 0x*)"},
    {AT_RESPONSE, PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected STX, read 0x*)"},
    {AT_ABORT, PCL_RESULT_PROTOCOL_ERROR, "Protocol error (expected EOT, read 0x*)"},
    // The check byte of an extension frame does not see a zero byte more or less.
    {AT_RESPONSE, PCL_RESULT_PROTOCOL_ERROR, "Unrecognized response"},
    {AT_RESPONSE, PCL_RESULT_PROTOCOL_ERROR, "([A-Z]*) Invalid RSP_ID: *"},
    {AT_RESPONSE, PCL_RESULT_IO_ERROR, "Invalid character (0x*) at position *"},
    {AT_ENCRYPTION, PCL_RESULT_PROTOCOL_ERROR, "Malformed encrypted response"},
    {AT_ENCRYPTION, PCL_RESULT_PROTOCOL_ERROR,
     "Malformed encrypted response (caused by Encrypted packet is "
     "not "
     "complete)"},
    {AT_ENCRYPTION, PCL_RESULT_PROTOCOL_ERROR,
     "Malformed encrypted response (caused by Invalid DATACRC)"},
    {AT_KEY_EXCHANGE, PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid PCKS#1 block header"},
    {AT_KEY_EXCHANGE, PCL_RESULT_PROTOCOL_ERROR,
     "(OPN) Invalid Ksec length (expected: 16, read: *)"},
    {AT_KEY_EXCHANGE, PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid RSP_LEN1: *"},
    {AT_KEY_EXCHANGE, PCL_RESULT_PROTOCOL_ERROR, "(OPN) Invalid OPN_CRKSLEN: *"},
    {AT_KEY_EXCHANGE, PCL_RESULT_IO_ERROR, "Invalid data: *"},
    {AT_KEY_EXCHANGE, PCL_RESULT_IO_ERROR,
     "Buffer does not have enough data (requested: *, available: *)"},
    {AT_KEY_EXCHANGE, PCL_RESULT_IO_ERROR,
     "No enough space in buffer (available: *, requested: *)"},
    {AT_CABLE, PCL_RESULT_IO_ERROR, "ReadFile() error: *"},
    {AT_CABLE, PCL_RESULT_IO_ERROR, "WriteFile() error: *"},
    {AT_CABLE, PCL_RESULT_IO_ERROR, "PurgeComm() error: *"},
};

} // namespace

const char *documentedAs(const PclException &failure, unsigned causes) {
    const std::string name = std::string("[") + pcl_result_to_string(failure.code) + "] ";
    const std::string message = failure.message;
    if (message.compare(0, name.size(), name) != 0) {
        return nullptr;
    }
    const std::string detail = message.substr(name.size());
    for (const Documented &row : TABLE) {
        if ((row.causes & causes) != 0 && row.code == failure.code &&
            fnmatch(row.detail, detail.c_str(), 0) == 0) {
            return row.detail;
        }
    }
    return nullptr;
}

} // namespace soak
