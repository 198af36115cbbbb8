#include "core/selftest.h"

#include "core/guard.h"
#include "core/memory.h"
#include "core/string.h"

namespace {

constexpr std::int32_t INITIAL_CAPACITY = 16;

const PclSelfTest &testOf(const void *item) {
    return *static_cast<const PclSelfTest *>(item);
}

std::uint32_t PCL_CALL hash(const void *item) {
    return pcl_string_hash(testOf(item).name);
}

bool PCL_CALL equals(const void *left, const void *right) {
    return pcl_string_equals(testOf(left).name, testOf(right).name);
}

void *PCL_CALL copy(const void *item) {
    return pcl_memdup(item, sizeof(PclSelfTest));
}

void PCL_CALL release(void *item) {
    pcl_memdup_free(item);
}

} // namespace

PclSelfTestRegistry *pcl_selftest_create() {
    return pcl_set_create(INITIAL_CAPACITY, &hash, &equals, &copy, &release);
}

void pcl_selftest_register(PclSelfTestRegistry *registry, const char *name, void(PCL_CALL *run)()) {
    if (registry != nullptr && (name == nullptr || run == nullptr)) {
        pcl_raise(PCL_RESULT_ILLEGAL_ARGUMENT, "'%s' is NULL", name == nullptr ? "name" : "run");
        return;
    }
    const PclSelfTest test{name, run};
    pcl_set_add(registry, &test);
}

std::uint32_t pcl_selftest_count(const PclSelfTestRegistry *registry) {
    return pcl_set_count(registry);
}

std::uint32_t pcl_selftest_run_all(PclSelfTestRegistry *registry, PclSelfTestReport report,
                                   void *context) {
    std::uint32_t failed = 0;
    PclSetIterator at;
    for (PclSetIterator *it = pcl_set_iterator_begin(registry, &at); it != nullptr;
         it = pcl_set_iterator_next(it)) {
        const PclSelfTest &test = testOf(it->item);
        const PclException failure = pcl_attempt([&] { test.run(); });
        failed += failure ? 1 : 0;
        if (report != nullptr) {
            report(context, test.name, failure ? &failure : nullptr);
        }
    }
    return failed;
}
