// The suite registry: exact names and versions, copies, counted acquisition,
// registration order.
#include <gtest/gtest.h>

#include <string>

#include "support/FailAllocations.h"
#include "vxhost/Host.h"

namespace {

int First() { return 1; }
int Second() { return 2; }

class SuiteRegistryTest : public ::testing::Test {
 protected:
  void SetUp() override { ADDN_RemoveAllSuites(); }
  void TearDown() override { ADDN_RemoveAllSuites(); }
  const ADDN_HBBasicSuite* basic_ = ADDN_GetHBBasicSuite();
};

TEST_F(SuiteRegistryTest, AcquiresByExactNameAndVersionAndCounts) {
  const void* table[] = {reinterpret_cast<void*>(&First), reinterpret_cast<void*>(&Second)};
  ASSERT_EQ(ADDN_AddHBSuite(0, 0, "Test Suite", 1, 1, 2, table), 0);

  const void* got = nullptr;
  ASSERT_EQ(basic_->AcquireSuite("Test Suite", 1, &got), 0);
  ASSERT_NE(got, nullptr);
  EXPECT_EQ(static_cast<const void* const*>(got)[1], reinterpret_cast<void*>(&Second));
  ASSERT_EQ(basic_->AcquireSuite("Test Suite", 1, &got), 0);
  EXPECT_EQ(basic_->AcquireCount("Test Suite", 1), 2);
  EXPECT_EQ(basic_->RoutineCount("Test Suite", 1), 2);

  EXPECT_EQ(basic_->AcquireSuite("test suite", 1, &got), ADDN_kErrNoSuchSuite);
  EXPECT_EQ(got, nullptr);
  EXPECT_EQ(basic_->AcquireSuite("Test Suite", 2, &got), ADDN_kErrNoSuchSuite);
  EXPECT_EQ(basic_->AcquireSuite(nullptr, 1, &got), 3);
  EXPECT_EQ(basic_->AcquireCount("Test Suite", 2), -1);

  EXPECT_EQ(basic_->ReleaseSuite("Test Suite", 1), 0);
  EXPECT_EQ(basic_->ReleaseSuite("Test Suite", 1), 0);
  EXPECT_EQ(basic_->ReleaseSuite("Test Suite", 1), 3);  // more releases than acquisitions
  EXPECT_EQ(basic_->AcquireCount("Test Suite", 1), 0);
}

TEST_F(SuiteRegistryTest, KeepsACopyOfTheTable) {
  const void* table[] = {reinterpret_cast<void*>(&First)};
  ASSERT_EQ(ADDN_AddHBSuite(0, 0, "Copy Suite", 1, 1, 1, table), 0);
  table[0] = reinterpret_cast<void*>(&Second);
  const void* got = nullptr;
  ASSERT_EQ(basic_->AcquireSuite("Copy Suite", 1, &got), 0);
  EXPECT_EQ(static_cast<const void* const*>(got)[0], reinterpret_cast<void*>(&First));

  // A new registration replaces the table; one already acquired stays valid.
  ASSERT_EQ(ADDN_AddHBSuite(0, 0, "Copy Suite", 1, 1, 1, table), 0);
  EXPECT_EQ(static_cast<const void* const*>(got)[0], reinterpret_cast<void*>(&First));
  const void* again = nullptr;
  ASSERT_EQ(basic_->AcquireSuite("Copy Suite", 1, &again), 0);
  EXPECT_EQ(static_cast<const void* const*>(again)[0], reinterpret_cast<void*>(&Second));
}

TEST_F(SuiteRegistryTest, ListsSuitesInOrderOfFirstRegistration) {
  const void* table[] = {nullptr, nullptr, nullptr};
  ASSERT_EQ(ADDN_AddHBSuite(0, 0, "B", 1, 1, 1, table), 0);
  ASSERT_EQ(ADDN_AddHBSuite(0, 0, "A", 2, 3, 3, table), 0);
  ASSERT_EQ(ADDN_AddHBSuite(0, 0, "B", 2, 1, 2, table), 0);
  ASSERT_EQ(ADDN_AddHBSuite(0, 0, "B", 1, 1, 2, table), 0);  // replaces in place
  ASSERT_EQ(ADDN_GetSuiteCount(), 3);
  ADDN_SuiteInfo info{};
  ASSERT_EQ(ADDN_GetSuiteInfo(0, &info), 0);
  EXPECT_EQ(std::string(info.name), "B");
  EXPECT_EQ(info.version, 1);
  EXPECT_EQ(info.routine_count, 2);
  ASSERT_EQ(ADDN_GetSuiteInfo(1, &info), 0);
  EXPECT_EQ(std::string(info.name), "A");
  EXPECT_EQ(info.internal_version, 3);
  ASSERT_EQ(ADDN_GetSuiteInfo(2, &info), 0);
  EXPECT_EQ(info.version, 2);
  EXPECT_EQ(ADDN_GetSuiteInfo(3, &info), 3);
  EXPECT_EQ(ADDN_GetSuiteInfo(-1, &info), 3);
}

TEST_F(SuiteRegistryTest, RefusesBadRegistrationsAndFailsWithoutMemory) {
  const void* table[] = {nullptr};
  EXPECT_EQ(ADDN_AddHBSuite(0, 0, nullptr, 1, 1, 1, table), 3);
  EXPECT_EQ(ADDN_AddHBSuite(0, 0, "", 1, 1, 1, table), 3);
  EXPECT_EQ(ADDN_AddHBSuite(0, 0, "X", 1, 1, 1, nullptr), 3);
  EXPECT_EQ(ADDN_AddHBSuite(0, 0, "X", 1, 1, -1, table), 3);
  {
    vxtest::FailAllocationsScope failing(0);
    EXPECT_EQ(ADDN_AddHBSuite(0, 0, "X", 1, 1, 1, table), 4);
  }
  EXPECT_EQ(ADDN_GetSuiteCount(), 0);
}

}  // namespace
