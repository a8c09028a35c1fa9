// The plug-in scan over real module files: what it offers, what it reports
// and skips, and how registered routines keep their file open.
#include <dlfcn.h>
#include <unistd.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "vxhost/Host.h"

namespace {

const std::string kModules = VX_TEST_MODULES_DIR;
constexpr uint32_t kEFST = 0x65465354;
constexpr uint32_t kVers = 0x76657273;

struct Seen {
  std::string name;
  uint32_t flags;
  int16_t vers;  // -1 when the routine has no 'vers'
};

struct ScanLog {
  std::vector<Seen> routines;
  int finished = 0;
  bool keep = false;  // register every routine
  std::vector<ADDN_Routine> kept;
};

KU_Err Found(void* refcon, ADDN_Module module) {
  auto* log = static_cast<ScanLog*>(refcon);
  int32_t count = 0;
  EXPECT_EQ(ADDN_GetRoutineCount(module, &count), 0);
  for (int32_t i = 0; i < count; ++i) {
    ADDN_RoutineInfo info{};
    EXPECT_EQ(ADDN_GetRoutineInfo(module, i, &info), 0);
    ADDN_TagList tags = nullptr;
    EXPECT_EQ(ADDN_GetRoutineTagList(module, i, &tags), 0);
    int16_t vers = -1;
    if (ADDN_GetTagLProp(tags, kVers, 2, &vers) != 0) vers = -1;
    EXPECT_EQ(ADDN_DisposeTagL(tags), 0);
    log->routines.push_back({info.name, info.flags, vers});
    if (log->keep) {
      ADDN_Routine routine = nullptr;
      EXPECT_EQ(ADDN_RegisterRoutine(module, i, &routine), 0);
      log->kept.push_back(routine);
    }
  }
  EXPECT_EQ(ADDN_GetRoutineInfo(module, count, nullptr), 3);
  return 0;
}

KU_Err Finished(void* refcon) {
  ++static_cast<ScanLog*>(refcon)->finished;
  return 0;
}

bool FileIsOpen(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

class ScanTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ADDN_ClearScanDirectories();
    const uint32_t types[] = {kEFST};
    ASSERT_EQ(ADDN_InstallScan(0, 1, types, Found, Finished, &log_), 0);
    KU_TakeReports();
  }
  void TearDown() override {
    for (ADDN_Routine r : log_.kept) ADDN_UnregisterRoutine(r);
    EXPECT_EQ(ADDN_RemoveScan(Found, Finished), 0);
    ADDN_ClearScanDirectories();
  }
  ScanLog log_;
};

TEST_F(ScanTest, OffersEveryRoutineWithItsPropertiesAndFinishesOnce) {
  ASSERT_EQ(ADDN_AddScanDirectory((kModules + "/count").c_str()), 0);
  ASSERT_EQ(ADDN_AddScanDirectory((kModules + "/oldvers").c_str()), 0);
  // The same folder spelt differently is scanned once.
  ASSERT_EQ(ADDN_AddScanDirectory((kModules + "/count/../count/").c_str()), 0);
  EXPECT_EQ(ADDN_RunPluginScan(), 0);
  EXPECT_EQ(log_.finished, 1);
  ASSERT_EQ(log_.routines.size(), 3u);
  EXPECT_EQ(log_.routines[0].name, "vxcount");
  EXPECT_EQ(log_.routines[0].flags, 8u);
  EXPECT_EQ(log_.routines[0].vers, 2);
  EXPECT_EQ(log_.routines[1].name, "vxoldvers");
  EXPECT_EQ(log_.routines[1].vers, 1);
  EXPECT_EQ(log_.routines[2].flags, 0u);
  // Nobody kept a routine: every file is closed again.
  EXPECT_FALSE(FileIsOpen(kModules + "/count/vxcount.QMX"));
  EXPECT_EQ(ADDN_RegisteredRoutineCount(), 0);
}

TEST_F(ScanTest, BrokenAndMissingFilesAreReportedAndSkipped) {
  const std::filesystem::path dir =
      std::filesystem::temp_directory_path() / ("vx_scan_broken_" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  std::ofstream(dir / "broken.QMX") << "not a shared object";
  std::ofstream(dir / "ignored.txt") << "not a module";
  ASSERT_EQ(ADDN_AddScanDirectory(dir.c_str()), 0);
  ASSERT_EQ(ADDN_AddScanDirectory((kModules + "/nodesc").c_str()), 0);
  ASSERT_EQ(ADDN_AddScanDirectory("/nonexistent/vx/modules"), 0);
  ASSERT_EQ(ADDN_AddScanDirectory((kModules + "/count").c_str()), 0);
  EXPECT_EQ(ADDN_RunPluginScan(), 0);
  // The good module after the broken ones is still offered.
  ASSERT_EQ(log_.routines.size(), 1u);
  EXPECT_EQ(log_.routines[0].name, "vxcount");
  const auto reports = KU_TakeReports();
  auto reported = [&](const std::string& part) {
    for (const KU_ReportRecord& r : reports)
      if (r.text.find(part) != std::string::npos) return true;
    return false;
  };
  EXPECT_TRUE(reported("can't be opened: " + std::filesystem::canonical(dir / "broken.QMX").string()));
  EXPECT_TRUE(reported("doesn't describe its routines"));
  EXPECT_TRUE(reported("/nonexistent/vx/modules"));
  EXPECT_FALSE(reported("ignored.txt"));
  std::filesystem::remove_all(dir);
}

TEST_F(ScanTest, ModulePathIsColonSeparated) {
  const std::string path = "::" + kModules + "/oldvers:" + kModules + "/count";
  ASSERT_EQ(setenv("VX_MODULE_PATH", path.c_str(), 1), 0);
  EXPECT_EQ(ADDN_RunPluginScan(), 0);
  unsetenv("VX_MODULE_PATH");
  ASSERT_EQ(log_.routines.size(), 3u);
  EXPECT_EQ(log_.routines[0].name, "vxoldvers");
  EXPECT_EQ(log_.routines[2].name, "vxcount");
}

TEST_F(ScanTest, RegisteredRoutinesKeepTheirFileOpenUntilTheLastGoes) {
  log_.keep = true;
  ASSERT_EQ(ADDN_AddScanDirectory((kModules + "/oldvers").c_str()), 0);
  ASSERT_EQ(ADDN_RunPluginScan(), 0);
  ASSERT_EQ(log_.kept.size(), 2u);
  const std::string file = kModules + "/oldvers/vxoldvers.QMX";
  EXPECT_TRUE(FileIsOpen(file));
  EXPECT_EQ(ADDN_RegisteredRoutineCount(), 2);

  void* entry = nullptr;
  ASSERT_EQ(ADDN_PrepRoutine(log_.kept[0], &entry), 0);
  EXPECT_NE(entry, nullptr);
  EXPECT_EQ(ADDN_UnprepRoutine(log_.kept[0]), 0);

  // A second scan doesn't offer a file that is still in use.
  log_.routines.clear();
  ASSERT_EQ(ADDN_RunPluginScan(), 0);
  EXPECT_TRUE(log_.routines.empty());
  EXPECT_EQ(log_.finished, 2);

  EXPECT_EQ(ADDN_UnregisterRoutine(log_.kept[0]), 0);
  EXPECT_TRUE(FileIsOpen(file));
  EXPECT_EQ(ADDN_UnregisterRoutine(log_.kept[1]), 0);
  log_.kept.clear();
  EXPECT_FALSE(FileIsOpen(file));
  EXPECT_EQ(ADDN_RegisteredRoutineCount(), 0);
}

TEST(Scan, RefusesBadArguments) {
  EXPECT_EQ(ADDN_AddScanDirectory(nullptr), 3);
  EXPECT_EQ(ADDN_AddScanDirectory(""), 3);
  EXPECT_EQ(ADDN_InstallScan(0, 1, nullptr, Found, Finished, nullptr), 3);
  EXPECT_EQ(ADDN_RemoveScan(Found, nullptr), 3);
  int32_t count = 0;
  EXPECT_EQ(ADDN_GetRoutineCount(nullptr, &count), 3);
  EXPECT_EQ(ADDN_GetTagLProp(nullptr, kVers, 2, &count), 3);
  EXPECT_EQ(ADDN_DisposeTagL(nullptr), 3);
  EXPECT_EQ(ADDN_UnregisterRoutine(nullptr), 3);
}

}  // namespace
