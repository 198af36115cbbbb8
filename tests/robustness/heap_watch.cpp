#include "tests/robustness/heap_watch.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <pthread.h>
#include <stdexcept>

extern "C" {
void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);
void *__wrap_malloc(std::size_t size);
void *__wrap_calloc(std::size_t count, std::size_t size);
void *__wrap_realloc(void *block, std::size_t size);
void __wrap_free(void *block);
}

namespace {

// Plain values: the destructors of the thread's other variables still free memory.
thread_local bool watched = false;
thread_local std::size_t failingCall = 0;

std::atomic<std::size_t> calls{0};
std::atomic<long> kept{0};

bool mayAllocate() {
    if (!watched) {
        return true;
    }
    return ++calls != failingCall;
}

void *counted(void *block) {
    if (watched && block != nullptr) {
        ++kept;
    }
    return block;
}

struct Run {
    std::size_t failing;
    const std::function<void()> *body;
};

void *runWatched(void *argument) {
    const Run run = *static_cast<Run *>(argument);
    failingCall = run.failing;
    watched = true;
    (*run.body)();
    failingCall = 0;
    return nullptr;
}

} // namespace

void *__wrap_malloc(std::size_t size) {
    return mayAllocate() ? counted(__real_malloc(size)) : nullptr;
}

void *__wrap_calloc(std::size_t count, std::size_t size) {
    return mayAllocate() ? counted(__real_calloc(count, size)) : nullptr;
}

void *__wrap_realloc(void *block, std::size_t size) {
    if (!mayAllocate()) {
        return nullptr;
    }
    void *moved = __real_realloc(block, size);
    return block == nullptr ? counted(moved) : moved;
}

void __wrap_free(void *block) {
    if (watched && block != nullptr) {
        --kept;
    }
    __real_free(block);
}

void *operator new(std::size_t size) {
    void *block = __wrap_malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void *block) noexcept {
    __wrap_free(block);
}

void operator delete(void *block, std::size_t) noexcept {
    __wrap_free(block);
}

heap::Watched heap::watch(std::size_t failing, const std::function<void()> &body) {
    calls = 0;
    kept = 0;
    Run run{failing, &body};
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, runWatched, &run) != 0 ||
        pthread_join(thread, nullptr) != 0) {
        throw std::runtime_error("no thread");
    }
    return {calls, kept};
}
