#include "core/selftest.h"

#include "tests/support/failures.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

int runs;

void PCL_CALL passing() {
    ++runs;
}

void PCL_CALL failing() {
    ++runs;
    pcl_raise(PCL_RESULT_ILLEGAL_STATE, "does not hold");
}

using Report = std::map<std::string, std::string>;

void PCL_CALL note(void *context, const char *name, const PclException *failure) {
    (*static_cast<Report *>(context))[name] = failure == nullptr ? "passed" : failure->message;
}

class SelfTest : public testing::Test {
protected:
    void SetUp() override {
        runs = 0;
        m_registry = pcl_selftest_create();
    }
    void TearDown() override { pcl_set_destroy(&m_registry); }

    PclSelfTestRegistry *m_registry = nullptr;
};

} // namespace

TEST_F(SelfTest, AnEmptyRegistryHasNothingToRun) {
    EXPECT_EQ(pcl_selftest_count(m_registry), 0U);
    EXPECT_EQ(pcl_selftest_run_all(m_registry, nullptr, nullptr), 0U);
}

TEST_F(SelfTest, ANameIsRegisteredOnce) {
    pcl_selftest_register(m_registry, "one", &passing);
    pcl_selftest_register(m_registry, std::string("one").c_str(), &failing);
    EXPECT_EQ(pcl_selftest_count(m_registry), 1U);
    EXPECT_EQ(pcl_selftest_run_all(m_registry, nullptr, nullptr), 0U);
    EXPECT_EQ(runs, 1);
}

TEST_F(SelfTest, RunsEveryTestAndReportsEach) {
    pcl_selftest_register(m_registry, "good", &passing);
    pcl_selftest_register(m_registry, "bad", &failing);
    pcl_selftest_register(m_registry, "fine", &passing);
    Report report;
    EXPECT_EQ(pcl_selftest_run_all(m_registry, &note, &report), 1U);
    EXPECT_EQ(runs, 3);
    EXPECT_EQ(report, (Report{{"good", "passed"},
                              {"fine", "passed"},
                              {"bad", "[PCL_RESULT_ILLEGAL_STATE] does not hold"}}));
}

TEST_F(SelfTest, ArgumentsAreChecked) {
    EXPECT_FAILURE(pcl_selftest_register(nullptr, "x", &passing), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'set' is NULL");
    EXPECT_FAILURE(pcl_selftest_register(m_registry, nullptr, &passing),
                   PCL_RESULT_ILLEGAL_ARGUMENT, "'name' is NULL");
    EXPECT_FAILURE(pcl_selftest_register(m_registry, "x", nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'run' is NULL");
    EXPECT_FAILURE(pcl_selftest_count(nullptr), PCL_RESULT_ILLEGAL_ARGUMENT, "'set' is NULL");
    EXPECT_FAILURE(pcl_selftest_run_all(nullptr, nullptr, nullptr), PCL_RESULT_ILLEGAL_ARGUMENT,
                   "'set' is NULL");
}
