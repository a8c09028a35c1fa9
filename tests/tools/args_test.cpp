// Numbers on the command line: whole strings only, range-checked, no
// wrap-around, no NaN or infinities; each refusal names its option.
#include <cmath>
#include <string>

#include "Args.h"
#include "ToolError.h"
#include "support/TestWorlds.h"
#include "tools/ToolRun.h"
#include "tools/ToolWorlds.h"

namespace {

template <class F>
std::string Refusal(F parse) {
  try {
    parse();
  } catch (const vxtool::ToolError& e) {
    return e.what();
  }
  return "";
}

TEST(StrictNumbers, FiniteNumbers) {
  EXPECT_EQ(vxtool::ParseFinite("0.25", "--x"), 0.25);
  EXPECT_EQ(vxtool::ParseFinite("1e-3", "--x"), 1e-3);
  EXPECT_EQ(vxtool::ParseFinite("-0", "--x"), 0.0);
  for (const char* bad : {"nan", "NaN", "-nan", "inf", "-Infinity", "1e999", "", " 0.5", "0.5 ", "0.5x", "--1"}) {
    const std::string message = Refusal([&] { vxtool::ParseFinite(bad, "--opacity"); });
    EXPECT_EQ(message.rfind("--opacity ", 0), 0u) << "'" << bad << "': " << message;
  }
}

TEST(StrictNumbers, IntegersDoNotWrap) {
  EXPECT_EQ(vxtool::ParseInteger("2147483647", INT32_MIN, INT32_MAX, "--at X"), INT32_MAX);
  EXPECT_EQ(vxtool::ParseInteger("-2147483648", INT32_MIN, INT32_MAX, "--at X"), INT32_MIN);
  EXPECT_EQ(vxtool::ParseInteger("+7", 0, 9, "--n"), 7);
  for (const char* bad : {"2147483648", "-2147483649", "4294967297", "99999999999999999999", "1.0", "5x", "", "-",
                          " 5", "0x10"}) {
    const std::string message = Refusal([&] { vxtool::ParseInteger(bad, INT32_MIN, INT32_MAX, "--at X"); });
    EXPECT_EQ(message.rfind("--at X ", 0), 0u) << "'" << bad << "': " << message;
  }
}

TEST(StrictNumbers, ByteCounts) {
  EXPECT_EQ(vxtool::ParseByteCount("1", "--m"), 1u);
  EXPECT_EQ(vxtool::ParseByteCount("1K", "--m"), 1024u);
  EXPECT_EQ(vxtool::ParseByteCount("2MiB", "--m"), 2u << 20);
  EXPECT_EQ(vxtool::ParseByteCount("3gb", "--m"), uint64_t(3) << 30);
  EXPECT_EQ(vxtool::ParseByteCount("16777215T", "--m"), uint64_t(16777215) << 40);
  for (const char* bad : {"0", "0G", "1.5G", "K", "1KK", "1P", "-1", "1iB", "16777216T", "18446744073709551616", ""}) {
    const std::string message = Refusal([&] { vxtool::ParseByteCount(bad, "--max-memory"); });
    EXPECT_EQ(message.rfind("--max-memory ", 0), 0u) << "'" << bad << "': " << message;
  }
  EXPECT_EQ(vxtool::ByteText(1536), "1.5 KiB");
  EXPECT_EQ(vxtool::ByteText(uint64_t(30000) * 30000 * 4), "3.4 GiB");
}

TEST(StrictNumbers, TheToolRefusesWhatUsedToWrapOrSlipThrough) {
  vxtest::ScratchDir dir;
  vxtool::WriteImage(dir / "a.png", *vxtest::RandomToolWorld<VX_Pixel8>(8, 8, 1));
  const std::string a = dir / "a.png", out = " -o " + dir / "out.png";
  const std::pair<std::string, const char*> runs[] = {
      {"composite " + a + " " + a + out + " --opacity nan", "--opacity"},
      {"composite " + a + " " + a + out + " --opacity inf", "--opacity"},
      {"composite " + a + " " + a + out + " --opacity 1e999", "--opacity"},
      {"composite " + a + " " + a + out + " --at 4294967297,1", "--at X"},
      {"composite " + a + " " + a + out + " --at 1,-4294967295", "--at Y"},
      {"composite " + a + " " + a + out + " --mode 4294967298", "--mode"},
      {"composite " + a + " " + a + out + " --max-memory 0", "--max-memory"},
      {"convert " + a + " " + dir / "out.png --depth 4294967304", "--depth"},
      {"convert " + a + " " + dir / "out.png --depth 8.0", "--depth"},
      {"convert " + a + " " + dir / "out.png --half", "--half"},
      {"info " + a + " --max-memory 4X", "--max-memory"},
  };
  for (const auto& [args, option] : runs) {
    const vxtest::ToolResult r = vxtest::RunTool(args);
    EXPECT_EQ(r.exit_code, 1) << args << ": " << r.out;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 1) << args << ": " << r.out;
    EXPECT_NE(r.out.find(option), std::string::npos) << args << ": " << r.out;
  }
  EXPECT_FALSE(std::filesystem::exists(dir / "out.png"));

  // The edges of what is allowed still run; a layer that far out leaves the
  // background as it was.
  for (const char* at : {"-2147483648,2147483647", "2147483647,0", "-8,-2147483648"}) {
    EXPECT_EQ(vxtest::RunTool("composite -q " + a + " " + a + out + " --mode alpha-mul --at " + at).exit_code, 0) << at;
    EXPECT_TRUE(vxtest::SameBytes(*vxtool::ReadImage(dir / "out.png"), *vxtool::ReadImage(a))) << at;
  }
  EXPECT_EQ(vxtest::RunTool("convert -q " + a + " " + dir / "h.exr --half --depth 32").exit_code, 0);
}

}  // namespace
