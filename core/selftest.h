#pragma once

#include "core/guard.h"
#include "core/set.h"

/// A registry of named checks that a build can carry along and run on the spot. A test fails by
/// raising.
using PclSelfTestRegistry = PclSet;

struct PclSelfTest {
    const char *name;
    void(PCL_CALL *run)();
};

/// Called once per test, with a null failure for one that passed. The context is the caller's.
using PclSelfTestReport = void(PCL_CALL *)(void *context, const char *name,
                                           const PclException *failure);

/// An empty registry, to be released with pcl_set_destroy. Raises PCL_RESULT_MALLOC_ERROR.
PclSelfTestRegistry *pcl_selftest_create();

/// Registers a test unless one of that name is there; copies neither the name nor what it runs.
/// Raises PCL_RESULT_ILLEGAL_ARGUMENT "'set' is NULL", "'name' is NULL" and "'run' is NULL".
void pcl_selftest_register(PclSelfTestRegistry *registry, const char *name, void(PCL_CALL *run)());

/// How many tests are registered. Raises PCL_RESULT_ILLEGAL_ARGUMENT "'set' is NULL".
std::uint32_t pcl_selftest_count(const PclSelfTestRegistry *registry);

/// Runs every test and returns how many failed. The report may be null. Raises
/// PCL_RESULT_ILLEGAL_ARGUMENT "'set' is NULL".
std::uint32_t pcl_selftest_run_all(PclSelfTestRegistry *registry, PclSelfTestReport report,
                                   void *context);
