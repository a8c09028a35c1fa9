// Guid text, the mixing hash, trace channels, and the preference store.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "vxhost/OPTS.h"
#include "vxhost/tessacore.h"

namespace {

using tessacore::utility::Guid;
using tessacore::utility::MixHash;

TEST(Guid, TextRoundTripAndRejects) {
  Guid g;
  g.data1 = 0x01234567, g.data2 = 0x89AB, g.data3 = 0xCDEF;
  for (int i = 0; i < 8; ++i) g.data4[i] = uint8_t(0x10 * i + 1);
  EXPECT_EQ(g.ToString(), "{01234567-89AB-CDEF-0111-213141516171}");
  Guid back;
  ASSERT_TRUE(Guid::FromString(g.ToString(), &back));
  EXPECT_EQ(back, g);
  ASSERT_TRUE(Guid::FromString("01234567-89ab-cdef-0111-213141516171", &back));
  EXPECT_EQ(back, g);
  EXPECT_FALSE(Guid::FromString("{01234567-89AB-CDEF-0111-21314151617}", &back));
  EXPECT_FALSE(Guid::FromString("{0123456G-89AB-CDEF-0111-213141516171}", &back));
  EXPECT_TRUE(Guid{}.IsNull());
  EXPECT_FALSE(g.IsNull());
}

MixHash Mixed(const std::vector<std::string>& parts) {
  MixHash h;
  for (const std::string& p : parts) h.MixInData(p.data(), p.size());
  return h;
}
bool Same(const MixHash& a, const MixHash& b) {
  for (int i = 0; i < 4; ++i)
    if (a.Word(i) != b.Word(i)) return false;
  return true;
}

TEST(MixHash, DependsOnContentOrderAndSplit) {
  EXPECT_TRUE(Same(Mixed({"abc", "def"}), Mixed({"abc", "def"})));
  EXPECT_FALSE(Same(Mixed({"abc", "def"}), Mixed({"def", "abc"})));
  EXPECT_FALSE(Same(Mixed({"abc", "def"}), Mixed({"abcdef"})));
  EXPECT_FALSE(Same(Mixed({"abc", ""}), Mixed({"abc"})));
  MixHash zero;
  for (int i = 0; i < 4; ++i) EXPECT_EQ(zero.Word(i), 0u);
  // Single-bit changes spread over all four words.
  MixHash a = Mixed({"VX_ColorSettings"}), b = Mixed({"VX_ColorSettingt"});
  for (int i = 0; i < 4; ++i) EXPECT_NE(a.Word(i), b.Word(i));
}

void Collect(const std::string& line, void* refcon) { static_cast<std::vector<std::string>*>(refcon)->push_back(line); }

TEST(Trace, LevelsCountChangesAndReachTheSink) {
  namespace d = tessacore::debug;
  const uint32_t before = d::TraceChangeCount();
  EXPECT_FALSE(d::TraceEnabled("TestChannel", 1));
  d::SetTraceLevel("TestChannel", 6);
  EXPECT_EQ(d::TraceChangeCount(), before + 1);
  EXPECT_TRUE(d::TraceEnabled("TestChannel", 6));
  EXPECT_FALSE(d::TraceEnabled("TestChannel", 7));
  std::vector<std::string> lines;
  d::SetTraceSink(Collect, &lines);
  d::Trace("one line");
  d::SetTraceSink(nullptr, nullptr);
  d::SetTraceLevel("TestChannel", 0);
  EXPECT_FALSE(d::TraceEnabled("TestChannel", 1));
  EXPECT_EQ(lines, std::vector<std::string>{"one line"});
  EXPECT_NE(d::CurrentThreadId(), 0u);
  EXPECT_FALSE(d::BreakAfterAssertDialog("m", "f", "file", 1, "x"));
}

TEST(Prefs, StoreReadsBackAndFailsOnRequest) {
  OPTS_PrefsH prefs = OPTS_GetPrefsHandle("TestOwner");
  ASSERT_NE(prefs, nullptr);
  EXPECT_EQ(OPTS_GetPrefsHandle("TestOwner"), prefs);
  std::string text;
  bool found = true;
  EXPECT_EQ(OPTS_GetTextPrefData(prefs, "S", "K", &text, &found), 0);
  EXPECT_FALSE(found);
  EXPECT_EQ(OPTS_SetTextPrefData(prefs, "S", "K", "Yes"), 0);
  EXPECT_EQ(OPTS_GetTextPrefData(prefs, "S", "K", &text, &found), 0);
  EXPECT_TRUE(found);
  EXPECT_TRUE(OPTS_TextIsTrue(text, false));
  EXPECT_FALSE(OPTS_TextIsTrue("off", true));
  EXPECT_TRUE(OPTS_TextIsTrue("maybe", true));
  OPTS_SetReadFailure(42);
  EXPECT_EQ(OPTS_GetTextPrefData(prefs, "S", "K", &text, &found), 42);
  OPTS_SetReadFailure(0);
  EXPECT_EQ(OPTS_RemovePrefData(prefs, "S", "K"), 0);
  EXPECT_EQ(OPTS_GetTextPrefData(prefs, "S", "K", &text, &found), 0);
  EXPECT_FALSE(found);
  EXPECT_EQ(OPTS_GetTextPrefData(nullptr, "S", "K", &text, &found), 3);
  EXPECT_EQ(OPTS_GetPrefsHandle(nullptr), nullptr);
}

}  // namespace
