#include "support/TestWorlds.h"

namespace vxtest {

EffectWorld::EffectWorld(int32_t width, int32_t height, int32_t depth, bool clear) {
  EXPECT_EQ(VX_NewEffectWorld(nullptr, width, height, depth, clear, false, &def_), 0);
}

EffectWorld::~EffectWorld() {
  if (def_.world_object) VX_DisposeEffectWorld(nullptr, &def_);
}

std::vector<KU_ReportRecord> TakeReports() { return KU_TakeReports(); }

bool HasReport(const std::vector<KU_ReportRecord>& reports, const std::string& text_part) {
  for (const KU_ReportRecord& r : reports)
    if (r.text.find(text_part) != std::string::npos) return true;
  return false;
}

}  // namespace vxtest
