#pragma once

#include "core/platform.h"
#include "core/result.h"

#include <cstddef>
#include <cstdint>

/// Failures.
///
/// A failure is a code and a message of at most 255 characters. Raising one with a frame open in
/// this thread unwinds (as a C++ exception) to the innermost frame, destroying what the functions
/// in between own. With no frame open the failure goes to the host's handler, and if that returns,
/// so does the raise: the raising function must return at once, touching neither what it found
/// wrong nor the line.
///
/// The record and the frames are per thread, the handler is one for the process.

inline constexpr std::size_t PCL_EXCEPTION_MESSAGE_SIZE = 256;

/// A failure, or none: the thread's record of the current one, the C++ exception that a raise
/// throws when a frame is open (only core/guard.h catches it), and the copy for whoever handles it.
struct PclException {
    PclResult_e code = PCL_RESULT_OK;
    char message[PCL_EXCEPTION_MESSAGE_SIZE] = {};

    explicit operator bool() const { return code != PCL_RESULT_OK; }
};

/// One open frame. The frames of the first 16 depths are part of the thread's state and are used
/// again and again; deeper ones are allocated, and freed when they are closed. So a thread that
/// ends leaves nothing behind.
struct PclExceptionFrame;

/// Called with the code, sign-extended to 32 bits, and the message (may be null).
using PclUncaughtHandler = void(PCL_CALL *)(std::int32_t code, const char *message);

/// Raises (code, the formatted text). Code PCL_RESULT_OK does nothing.
void pcl_exception_throw(PclResult_e code, const char *format, ...) PCL_PRINTF(2, 3);

/// Raises (code, message) with the text as it is. A null message leaves an empty one.
void pcl_exception_rethrow(PclResult_e code, const char *message);

/// The enumerator's name. Any other value raises PCL_RESULT_RUNTIME_ERROR
/// "Unhandled PclResult_e: %d\n" and gives the empty text when the handler returns.
const char *pcl_result_to_string(PclResult_e code);

/// Formats the detail and raises "[NAME OF CODE] detail": how every failure site raises.
void pcl_raise(PclResult_e code, const char *format, ...) PCL_PRINTF(2, 3);

/// Clears the record and opens a frame. Use pcl_attempt() or pcl_guarded() of core/guard.h, which
/// end the frame exactly once on every path.
void pcl_exception_try();

/// The innermost open frame of this thread, null when none is open.
PclExceptionFrame *pcl_exception_frame();

/// Closes the innermost frame; does nothing when none is open.
void pcl_exception_end_try();

PclResult_e pcl_exception_code();
const char *pcl_exception_message();

/// The record, whose message array is the scratch buffer in which details are formatted.
PclException *pcl_exception_message_buffer();

/// Sets the function that receives the failures no frame catches; null restores the default, which
/// prints the failure to standard output and aborts. May be called from any thread.
extern "C" PCL_EXPORT void PCL_CALL pcl_exception_set_uncaught_handler(PclUncaughtHandler handler);

/// How many frames this thread has, open or kept for the next use.
std::size_t pcl_exception_pooled_frames();

/// Reports on standard output that a frame could not be allocated, and aborts.
[[noreturn]] void pcl_fatal_alloc_error();
