#include "tests/windows/resources.h"

#include "tests/windows/check.h"

#include <stdio.h>

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

enum { MAX_ROUNDS = 5, MAX_HEAPS = 64, HANDLE_STEP = 4, HANDLE_END = 0x10000 };

struct resources {
    int handles;
    size_t heap; /* bytes in use, in all heaps */
};

/* Wine does not tell their number. */
static int open_handles(void) {
    int count = 0;
    for (ULONG_PTR handle = HANDLE_STEP; handle < HANDLE_END; handle += HANDLE_STEP) {
        DWORD flags = 0;
        count += GetHandleInformation((HANDLE)handle, &flags) ? 1 : 0;
    }
    return count;
}

static size_t in_use(HANDLE heap) {
    size_t bytes = 0;
    PROCESS_HEAP_ENTRY entry = {0};
    HeapLock(heap);
    while (HeapWalk(heap, &entry)) {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) {
            bytes += entry.cbData;
        }
    }
    HeapUnlock(heap);
    return bytes;
}

static struct resources resources_now(void) {
    struct resources now = {0};
    HANDLE heaps[MAX_HEAPS];
    const DWORD count = GetProcessHeaps(MAX_HEAPS, heaps);
    check("the heaps are counted", count > 0 && count <= MAX_HEAPS);
    for (DWORD i = 0; i < count; ++i) {
        now.heap += in_use(heaps[i]);
    }
    now.handles = open_handles();
    check("the handles are counted", now.handles > 0);
    return now;
}

void resources_check_flat(const char *what, void (*run)(int times), int times) {
    int flat = 0;
    for (int round = 0; round < MAX_ROUNDS && !flat; ++round) {
        const struct resources before = resources_now();
        run(times);
        const struct resources after = resources_now();
        printf("  %s: %d handles, then %d; %lu bytes, then %lu\n", what, before.handles,
               after.handles, (unsigned long)before.heap, (unsigned long)after.heap);
        flat = after.handles <= before.handles && after.heap <= before.heap;
    }
    check("handles and memory are flat", flat);
}
