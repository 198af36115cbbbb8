#include "cli/failure_text.h"

#include "cli/terminal.h"

namespace cli {

namespace {

bool has(const std::string &text, const char *part) {
    return text.find(part) != std::string::npos;
}

// Failures of a port that cannot be used at all.
std::string explainPort(const LibraryFailure &failure, const std::string &port,
                        const std::string &detail) {
    if (failure.code == PCL_RESULT_DEVICE_BUSY) {
        return detail +
               " \xE2\x80\x94 another program has it open. Close it, or find it with: fuser " +
               portPath(port);
    }
    if (failure.code == PCL_RESULT_FILE_NOT_FOUND) {
        return detail +
               " \xE2\x80\x94 is the PIN pad plugged in? List the ports with: pinpad ports";
    }
    if (has(detail, "Invalid serial port")) {
        return detail + " \xE2\x80\x94 there is something of that name, but it is no serial port. "
                        "List the ports with: pinpad ports";
    }
    const std::string refusal = portRefusal(port);
    if (failure.code == PCL_RESULT_IO_ERROR && !refusal.empty()) {
        return "Port cannot be opened: " + port + " (" + refusal +
               ") \xE2\x80\x94 see who may use it with: ls -l " + portPath(port) +
               " and join that group, often with: sudo usermod -aG dialout \"$USER\"";
    }
    return "";
}

std::string advice(const LibraryFailure &failure, const std::string &detail) {
    switch (failure.code) {
    case PCL_RESULT_TIMEOUT_ERROR:
        return failure.stage == Stage::Opening
                   ? "No answer on this port \xE2\x80\x94 is it the PIN pad's, and is the PIN pad "
                     "switched on? List the ports with: pinpad ports"
                   : "The PIN pad did not answer in time \xE2\x80\x94 check that it is switched on "
                     "and the cable sits well, and run it again.";
    case PCL_RESULT_IO_ERROR:
        if (has(detail, "() error")) {
            return "The line to the PIN pad failed (" + detail +
                   ") \xE2\x80\x94 was the cable pulled? Plug it in and run it again.";
        }
        break;
    case PCL_RESULT_PROTOCOL_ERROR:
        return "The PIN pad's answer makes no sense (" + detail +
               ") \xE2\x80\x94 run it again; if it stays so, record it with --trace=FILE.";
    case PCL_RESULT_FILE_NOT_FOUND:
        return detail + " \xE2\x80\x94 check its name.";
    case PCL_RESULT_ILLEGAL_ARGUMENT:
        return "The library does not take an argument: " + detail;
    default:
        break;
    }
    return detail + " \xE2\x80\x94 if it stays so, record it with --trace=FILE.";
}

// What the library says of a key of the wrong length holds the key.
std::string withoutKey(const std::string &detail) {
    for (const std::string name : {"szKey", "szKeyA", "szKeyB"}) {
        const std::string begin = "Invalid size for " + name + ": ";
        if (detail.rfind(begin, 0) == 0) {
            return begin + "masked (exact: 12)";
        }
    }
    return detail;
}

} // namespace

std::string failureDetail(const LibraryFailure &failure) {
    const std::size_t end = failure.message.find("] ");
    const bool prefixed = failure.message.rfind('[', 0) == 0 && end != std::string::npos;
    return withoutKey(prefixed ? failure.message.substr(end + 2) : failure.message);
}

FailureText explainFailure(const LibraryFailure &failure, const std::string &port) {
    const std::string detail = failureDetail(failure);
    if (failure.stage == Stage::Opening) {
        const std::string text = explainPort(failure, port, detail);
        if (!text.empty()) {
            return {ExitStatus::Port, text};
        }
    }
    return {ExitStatus::Failure, advice(failure, detail)};
}

} // namespace cli
