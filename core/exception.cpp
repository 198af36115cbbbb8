#include "core/exception.h"

#include "core/abort.h"
#include "core/memory.h"
#include "core/string.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <type_traits>

struct PclExceptionFrame {
    PclExceptionFrame *prev;
    PclExceptionFrame *next;
    bool inPlace;
};

namespace {

// More than the library ever nests.
constexpr std::size_t FRAMES_IN_PLACE = 16;

struct ThreadState {
    PclException record;
    PclExceptionFrame *current = nullptr;
    PclExceptionFrame *root = nullptr;
    std::size_t placesUsed = 0;
    PclExceptionFrame places[FRAMES_IN_PLACE] = {};
};

// In a 32-bit DLL the storage of a thread is gone before a destructor would run.
static_assert(std::is_trivially_destructible_v<ThreadState>);

constinit thread_local ThreadState state;
std::atomic<PclUncaughtHandler> uncaughtHandler{nullptr};

[[noreturn]] void abortLoudly() {
    // The text must reach a pipe or a file too: an abort does not flush.
    std::fflush(stdout);
    pcl_abort();
}

[[noreturn]] void defaultHandler(std::int32_t code, const char *message) {
    if (message == nullptr) {
        std::printf("Uncaught error: %i\n", code);
    } else {
        std::printf("Uncaught error: %i (%s)\n", code, message);
    }
    abortLoudly();
}

void raiseFailure(PclResult_e code, const char *message) {
    if (code == PCL_RESULT_OK) {
        return;
    }
    if (state.current != nullptr) {
        state.record.code = code;
        if (message == nullptr) {
            state.record.message[0] = '\0';
        } else if (message != state.record.message) {
            pcl_snprintf(state.record.message, sizeof state.record.message, "%s", message);
        }
        throw PclException{state.record};
    }
    if (const PclUncaughtHandler handler = uncaughtHandler.load(); handler != nullptr) {
        handler(code, message);
        return;
    }
    defaultHandler(code, message);
}

PclExceptionFrame *makeFrame() {
    const bool inPlace = state.placesUsed < FRAMES_IN_PLACE;
    auto *frame = inPlace
                      ? &state.places[state.placesUsed++]
                      : static_cast<PclExceptionFrame *>(pcl_malloc(sizeof(PclExceptionFrame), 1));
    if (frame == nullptr) {
        pcl_fatal_alloc_error();
    }
    *frame = {state.current, nullptr, inPlace};
    return frame;
}

} // namespace

void pcl_fatal_alloc_error() {
    std::printf("FATAL: MEMORY ALLOCATION ERROR\n");
    abortLoudly();
}

void pcl_exception_throw(PclResult_e code, const char *format, ...) {
    char text[PCL_EXCEPTION_MESSAGE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    pcl_vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    raiseFailure(code, text);
}

void pcl_exception_rethrow(PclResult_e code, const char *message) {
    raiseFailure(code, message);
}

const char *pcl_result_to_string(PclResult_e code) {
    const char *name = pcl_result_find_name(code);
    if (name == nullptr) {
        pcl_raise(PCL_RESULT_RUNTIME_ERROR, "Unhandled PclResult_e: %d\n", code);
        return "";
    }
    return name;
}

void pcl_raise(PclResult_e code, const char *format, ...) {
    if (code == PCL_RESULT_OK) {
        return;
    }
    // Formatted aside: an argument may point into the record.
    char detail[PCL_EXCEPTION_MESSAGE_SIZE];
    va_list arguments;
    va_start(arguments, format);
    pcl_vsnprintf(detail, sizeof detail, format, arguments);
    va_end(arguments);
    const char *name = pcl_result_to_string(code);
    std::memcpy(state.record.message, detail, sizeof detail);
    pcl_exception_throw(code, "[%s] %s", name, detail);
}

void pcl_exception_try() {
    state.record.code = PCL_RESULT_OK;
    state.record.message[0] = '\0';
    PclExceptionFrame *&next = state.current == nullptr ? state.root : state.current->next;
    if (next == nullptr) {
        next = makeFrame();
    }
    state.current = next;
}

PclExceptionFrame *pcl_exception_frame() {
    return state.current;
}

void pcl_exception_end_try() {
    PclExceptionFrame *ended = state.current;
    if (ended == nullptr) {
        return;
    }
    state.current = ended->prev;
    if (!ended->inPlace) {
        ended->prev->next = nullptr;
        pcl_free(ended);
    }
}

PclResult_e pcl_exception_code() {
    return state.record.code;
}

const char *pcl_exception_message() {
    return state.record.message;
}

PclException *pcl_exception_message_buffer() {
    return &state.record;
}

void pcl_exception_set_uncaught_handler(PclUncaughtHandler handler) {
    uncaughtHandler.store(handler);
}

std::size_t pcl_exception_pooled_frames() {
    std::size_t count = 0;
    for (const PclExceptionFrame *frame = state.root; frame != nullptr; frame = frame->next) {
        ++count;
    }
    return count;
}
