// The guard at plain entry points turns a thrown code into the result and
// reports standard exceptions once.
#include <stdexcept>

#include "core/Internal.h"
#include "support/TestWorlds.h"

namespace {

TEST(Guard, ThrownCodesComeOutAsResultsWithoutAReport) {
  vxtest::TakeReports();
  EXPECT_EQ(VXp_Guard([]() -> VX_Err { throw VX_Err(4); }), 4);
  EXPECT_EQ(VXp_Guard([]() -> VX_Err { throw VX_Err(517); }), 517);
  EXPECT_EQ(VXp_Guard([] {}), 0);
  EXPECT_EQ(VXp_Guard([] { return VX_Err(7); }), 7);
  EXPECT_TRUE(vxtest::TakeReports().empty());
}

TEST(Guard, StandardExceptionsAreReportedAndTranslated) {
  vxtest::TakeReports();
  EXPECT_EQ(VXp_Guard([]() -> VX_Err { throw std::bad_alloc(); }), 4);
  EXPECT_EQ(VXp_Guard([]() -> VX_Err { throw std::out_of_range("index"); }), 3);
  const auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[1].kind, KU_ReportKind::Exception);
  EXPECT_EQ(reports[1].text, "index");
}

TEST(Guard, BadParameterReportsTextFourAtItsSite) {
  vxtest::TakeReports();
  EXPECT_EQ(VXp_BadParameter(70), 3);
  const auto reports = vxtest::TakeReports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].site, 0x250046);
  EXPECT_EQ(reports[0].severity, 8);
  EXPECT_EQ(reports[0].text, "bad parameter passed to effect callback");
}

}  // namespace
