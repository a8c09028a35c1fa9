// World objects: factories, sub-worlds and their content hint, references,
// the safety gutter, clear and fill with their conversion table.
#include <cmath>

#include "support/TestWorlds.h"

namespace {

using vxtest::TakeReports;

std::unique_ptr<VX_World> Make(int32_t w, int32_t h, int16_t depth, int32_t flags = VX_WorldFlag_Clear) {
  return std::unique_ptr<VX_World>(VX_World::New(w, h, depth, flags));
}

template <class Pixel>
Pixel& At(VX_World& w, int32_t x, int32_t y) {
  return static_cast<VX_WorldX<Pixel>&>(w).PixelAt(x, y)[0];
}

TEST(WorldObjects, FactoriesAndTheLiveCounter) {
  const long live = VX_G_LiveWorlds;
  auto a = Make(10, 5, 16);
  ASSERT_TRUE(a);
  EXPECT_EQ(a->Depth(), 16);
  EXPECT_EQ(a->PixelSize(), 8);
  EXPECT_FALSE(a->IsReference());
  EXPECT_EQ(a->world_object, a.get());
  auto b = std::unique_ptr<VX_World>(VX_World::NewMatchingWorld(a.get(), 0));
  EXPECT_EQ(b->width, 10);
  EXPECT_EQ(b->Depth(), 16);
  auto c = std::unique_ptr<VX_World>(VX_World::New(GEO_LRect{5, 5, 12, 9}, 32, 0));
  EXPECT_EQ(c->width, 7);
  EXPECT_EQ(c->height, 4);
  EXPECT_EQ(VX_G_LiveWorlds, live + 3);
  auto ref = std::unique_ptr<VX_World>(VX_World::NewReference(a.get(), GEO_LRect{1, 1, 3, 3}));
  EXPECT_EQ(VX_G_LiveWorlds, live + 3) << "references are not counted";
  EXPECT_THROW(VX_World::New(4, 4, 24, 0), VX_Err);
  EXPECT_THROW(VX_World::NewReference(nullptr, 4, 4, 12, 16), VX_Err);
  TakeReports();
  {
    vxtest::FailAllocationsScope fail(0);
    EXPECT_EQ(VX_World::New(4, 4, 8, 0), nullptr) << "a failed operator new gives null";
  }
}

TEST(WorldObjects, SubWorldArithmeticAndContentHint) {
  auto parent = Make(20, 10, 8);
  parent->content_rect = GEO_LRect{2, 3, 15, 8};
  parent->inherited_ref = reinterpret_cast<void*>(0x1234);
  auto sub = std::unique_ptr<VX_World>(VX_World::NewReference(parent.get(), GEO_LRect{5, 1, 18, 6}));
  EXPECT_EQ(sub->width, 13);
  EXPECT_EQ(sub->height, 5);
  EXPECT_EQ(sub->row_stride, parent->row_stride);
  EXPECT_EQ(sub->data, &At<VX_Pixel8>(*parent, 5, 1));
  EXPECT_EQ(sub->inherited_ref, parent->inherited_ref);
  EXPECT_EQ(sub->content_rect.left, 0);
  EXPECT_EQ(sub->content_rect.top, 2);
  EXPECT_EQ(sub->content_rect.right, 10);
  EXPECT_EQ(sub->content_rect.bottom, 5);
  EXPECT_TRUE(sub->IsReference());
  EXPECT_TRUE(sub->RefersTo(parent.get()));
  EXPECT_FALSE(parent->RefersTo(parent.get())) << "an owner is not a reference";
  auto elsewhere = Make(20, 10, 8);
  EXPECT_FALSE(sub->RefersTo(elsewhere.get()) && sub->data < elsewhere->data);
  auto other_depth = Make(20, 10, 16);
  EXPECT_FALSE(sub->RefersTo(other_depth.get()));
}

TEST(WorldObjects, ShrinkAndReReference) {
  auto w = Make(8, 8, 32);
  void* const frame = w->allocation;
  w->ShrinkToSubRect(GEO_LRect{0, 0, 8, 8});
  EXPECT_EQ(w->width, 8) << "the whole world changes nothing";
  w->ShrinkToSubRect(GEO_LRect{2, 3, 6, 8});
  EXPECT_EQ(w->width, 4);
  EXPECT_EQ(w->allocation, frame);
  EXPECT_EQ(w->content_rect.bottom, 5);
  TakeReports();
  EXPECT_THROW(w->ShrinkToSubRect(GEO_LRect{0, 0, 5, 1}), VX_Err);
  EXPECT_TRUE(vxtest::HasReport(TakeReports(), "bad sub rect in ShrinkToSubRect"));

  auto parent = Make(10, 10, 32);
  auto ref = std::unique_ptr<VX_World>(VX_World::NewReference(parent.get(), GEO_LRect{0, 0, 2, 2}));
  ref->ReReference(parent.get(), GEO_LRect{4, 4, 10, 9});
  EXPECT_EQ(ref->width, 6);
  EXPECT_EQ(ref->data, &At<VX_PixelFloat>(*parent, 4, 4));
  EXPECT_THROW(ref->ReReference(ref.get(), GEO_LRect{0, 0, 1, 1}), VX_Err);
  EXPECT_THROW(ref->ReReference(parent.get(), GEO_LRect{0, 0, 11, 1}), VX_Err);
  auto deep = Make(10, 10, 16);
  EXPECT_THROW(ref->ReReference(deep.get(), GEO_LRect{0, 0, 1, 1}), VX_Err);
  const auto reports = TakeReports();
  EXPECT_TRUE(vxtest::HasReport(reports, "can't ReReference self"));
  EXPECT_TRUE(vxtest::HasReport(reports, "bad sub rect in ReReference"));
  EXPECT_TRUE(vxtest::HasReport(reports, "can't change bit depth in ReReference"));
}

TEST(WorldObjects, GutterCatchesARunPastTheEnd) {
  auto w = Make(5, 3, 8);
  auto sub = std::unique_ptr<VX_World>(VX_World::NewReference(w.get(), GEO_LRect{0, 2, 5, 3}));
  EXPECT_FALSE(w->SubWorldSafetyGutterHasBeenOverWritten());
  EXPECT_FALSE(sub->SubWorldSafetyGutterHasBeenOverWritten()) << "a reference has no gutter";
  static_cast<VX_Pixel8*>(sub->data)[5].red = 1;  // one pixel past the last row
  EXPECT_TRUE(w->SubWorldSafetyGutterHasBeenOverWritten());
}

TEST(WorldObjects, DetachHandsOverTheFrame) {
  auto w = Make(4, 4, 8);
  const long live = VX_G_LiveWorlds;
  const size_t bytes = VX_World::FrameBytes(4, 4, w->row_stride, 4);
  void* frame = w->DetachMemory();
  EXPECT_EQ(VX_G_LiveWorlds, live - 1);
  EXPECT_TRUE(w->IsReference());
  w.reset();
  RB_FreeFrame(frame, bytes);
}

TEST(WorldObjects, RecordsAndBitmaps) {
  auto w = Make(6, 4, 16);
  VX_LayerDef def{};
  def.reserved0 = &def;
  w->FillOutEffectWorld(&def);
  EXPECT_EQ(def.reserved0, nullptr);
  EXPECT_EQ(def.depth_flags, 0x1000001u);
  EXPECT_EQ(def.world_object, w.get());
  EXPECT_EQ(def.ownership_tag, 0u);
  EXPECT_EQ(VX_DisposeEffectWorld(nullptr, &def), 516);
  TakeReports();
  try {
    w->GetRBWorld();
    ADD_FAILURE();
  } catch (VX_Err e) {
    EXPECT_EQ(e, 513);
  }
  auto rb = Make(6, 4, 8, VX_WorldFlag_RBBacked | VX_WorldFlag_Clear);
  ASSERT_TRUE(rb->HasRBWorld());
  EXPECT_EQ(rb->GetRBWorld(), rb->rb_world);
  auto whole = std::unique_ptr<VX_World>(VX_World::NewReference(rb->rb_world));
  EXPECT_EQ(whole->Depth(), 8);
  EXPECT_EQ(whole->rb_world, rb->rb_world);
  auto part = std::unique_ptr<VX_World>(VX_World::NewReference(rb->rb_world, GEO_Rect{1, 2, 3, 5}));
  EXPECT_EQ(part->rb_world, nullptr);
  EXPECT_EQ(part->width, 3);
  EXPECT_EQ(part->data, &At<VX_Pixel8>(*rb, 2, 1));
  VX_LayerDef plain{};
  plain.data = rb->data;
  plain.width = 6;
  plain.height = 4;
  plain.row_stride = rb->row_stride;
  plain.depth_flags = 0x7000000;
  EXPECT_THROW(VX_World::NewReference(&plain), VX_Err);
  EXPECT_TRUE(vxtest::HasReport(TakeReports(), "Unexpected bitdepth in VX_World::NewReference(VX_EffectWorld)"));
}

TEST(WorldObjects, ClearOfContiguousRowsRunsToTheEndOfTheWorld) {
  auto w = Make(4, 6, 8, 0);  // 16-byte rows: contiguous
  const VX_Pixel16 white{32768, 32768, 32768, 32768};
  w->Fill(white, nullptr);
  const GEO_LRect rows{0, 2, 4, 3};
  w->Clear(&rows);
  EXPECT_EQ(At<VX_Pixel8>(*w, 3, 1).alpha, 255);
  EXPECT_EQ(At<VX_Pixel8>(*w, 3, 5).alpha, 0) << "a whole-world count of pixels from the first row";
  EXPECT_FALSE(w->SubWorldSafetyGutterHasBeenOverWritten());
  auto wide = Make(5, 6, 8, 0);  // padded rows
  wide->Fill(white, nullptr);
  wide->Clear(&rows);
  EXPECT_EQ(At<VX_Pixel8>(*wide, 3, 2).alpha, 0);
  EXPECT_EQ(At<VX_Pixel8>(*wide, 3, 3).alpha, 255);
}

TEST(WorldObjects, ClearExceptRect) {
  const VX_PixelFloat one{1, 1, 1, 1};
  auto w = Make(6, 5, 32);
  w->Fill(one, nullptr);
  w->ClearExceptRect(GEO_LRect{0, 0, 6, 5});
  EXPECT_EQ(At<VX_PixelFloat>(*w, 0, 0).red, 1.0f) << "the full rectangle clears nothing";
  w->ClearExceptRect(GEO_LRect{2, 1, 4, 3});
  for (int32_t y = 0; y < 5; ++y)
    for (int32_t x = 0; x < 6; ++x)
      EXPECT_EQ(At<VX_PixelFloat>(*w, x, y).green, (x >= 2 && x < 4 && y >= 1 && y < 3) ? 1.0f : 0.0f) << x << y;
  w->Fill(one, nullptr);
  w->ClearExceptRect(GEO_LRect{3, 3, 3, 3});
  EXPECT_EQ(At<VX_PixelFloat>(*w, 3, 3).alpha, 0.0f) << "an empty rectangle clears all";
}

TEST(WorldObjects, FillConvertsWithTheUnclampedAlpha) {
  auto w8 = Make(3, 2, 8), w16 = Make(3, 2, 16), wf = Make(3, 2, 32);
  const VX_PixelFloat f{1.5f, 1.5f, -0.2f, 0.5f};
  w8->Fill(f, nullptr);
  EXPECT_TRUE(vxtest::SamePixel(At<VX_Pixel8>(*w8, 2, 1), VX_Pixel8{127, 255, 0, 128}));
  w16->Fill(f, nullptr);
  EXPECT_TRUE(vxtest::SamePixel(At<VX_Pixel16>(*w16, 2, 1), VX_Pixel16{49152, 32768, 0, 16384}));
  const VX_Pixel16 c{32768, 16384, 1, 0};
  w8->Fill(c, nullptr);
  EXPECT_TRUE(vxtest::SamePixel(At<VX_Pixel8>(*w8, 0, 0), VX_Pixel8{255, 128, 0, 0}));
  wf->Fill(c, nullptr);
  EXPECT_EQ(At<VX_PixelFloat>(*wf, 1, 1).red, 0.5f);
  EXPECT_EQ(At<VX_PixelFloat>(*wf, 1, 1).green, 3.0517578e-5f);
  const GEO_LRect part{1, 0, 2, 1};
  const VX_Pixel16 zero{};
  w16->Fill(zero, &part);
  EXPECT_EQ(At<VX_Pixel16>(*w16, 1, 0).alpha, 0);
  EXPECT_EQ(At<VX_Pixel16>(*w16, 2, 0).alpha, 49152);
}

TEST(WorldObjects, AlphaOperationsAndFloatRefusals) {
  auto w16 = Make(2, 2, 16), wf = Make(2, 2, 32);
  w16->FillAlpha();
  EXPECT_EQ(At<VX_Pixel16>(*w16, 1, 1).alpha, 32768);
  At<VX_Pixel16>(*w16, 0, 0).alpha = 100;
  w16->InvertAlpha();
  EXPECT_EQ(At<VX_Pixel16>(*w16, 0, 0).alpha, 32668);
  EXPECT_EQ(At<VX_Pixel16>(*w16, 1, 1).alpha, 0);
  wf->InvertAlpha();
  EXPECT_EQ(At<VX_PixelFloat>(*wf, 0, 1).alpha, 1.0f);
  EXPECT_THROW(wf->Premultiply(), VX_Err);
  EXPECT_THROW(wf->Unmultiply(), VX_Err);
  EXPECT_THROW(wf->PremulColor(VX_Pixel16{}), VX_Err);
  EXPECT_THROW(wf->UnmulColor(VX_Pixel16{}), VX_Err);
}

}  // namespace
