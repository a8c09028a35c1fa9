// Rectangles and points.
#include <cstdint>
#include <algorithm>

#include "vxhost/GEO.h"

void GEO_SetLRect(GEO_LRect* r, int32_t left, int32_t top, int32_t right, int32_t bottom) {
  if (r) *r = GEO_LRect{left, top, right, bottom};
}

bool GEO_EmptyLRect(const GEO_LRect* r) { return !r || r->left >= r->right || r->top >= r->bottom; }

bool GEO_EqualLRect(const GEO_LRect* a, const GEO_LRect* b) {
  return a && b && a->left == b->left && a->top == b->top && a->right == b->right && a->bottom == b->bottom;
}

bool GEO_SectLRect(const GEO_LRect* a, const GEO_LRect* b, GEO_LRect* out) {
  GEO_LRect r{0, 0, 0, 0};
  if (a && b) {
    r = GEO_LRect{std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
                  std::min(a->bottom, b->bottom)};
  }
  const bool nonempty = !GEO_EmptyLRect(&r);
  if (!nonempty) r = GEO_LRect{0, 0, 0, 0};
  if (out) *out = r;
  return nonempty;
}

void GEO_UnionLRect(const GEO_LRect* a, const GEO_LRect* b, GEO_LRect* out) {
  if (!out) return;
  const bool a_empty = GEO_EmptyLRect(a), b_empty = GEO_EmptyLRect(b);
  if (a_empty && b_empty) {
    *out = GEO_LRect{0, 0, 0, 0};
  } else if (a_empty) {
    *out = *b;
  } else if (b_empty) {
    *out = *a;
  } else {
    *out = GEO_LRect{std::min(a->left, b->left), std::min(a->top, b->top), std::max(a->right, b->right),
                     std::max(a->bottom, b->bottom)};
  }
}

namespace {
// Sides moved past the 32-bit range stop at its ends.
int32_t Moved(int32_t v, int32_t d) {
  const int64_t x = int64_t(v) + d;
  return x > INT32_MAX ? INT32_MAX : (x < INT32_MIN ? INT32_MIN : static_cast<int32_t>(x));
}
}  // namespace

void GEO_OffsetLRect(GEO_LRect* r, int32_t dx, int32_t dy) {
  if (!r) return;
  r->left = Moved(r->left, dx);
  r->right = Moved(r->right, dx);
  r->top = Moved(r->top, dy);
  r->bottom = Moved(r->bottom, dy);
}

void GEO_InsetLRect(GEO_LRect* r, int32_t dx, int32_t dy) {
  if (!r) return;
  r->left += dx;
  r->right -= dx;
  r->top += dy;
  r->bottom -= dy;
}

bool GEO_PtInLRect(const GEO_LPoint* p, const GEO_LRect* r) {
  return p && r && p->x >= r->left && p->x < r->right && p->y >= r->top && p->y < r->bottom;
}

GEO_LRect GEO_RectToLRect(const GEO_Rect& r) { return GEO_LRect{r.left, r.top, r.right, r.bottom}; }

GEO_Rect GEO_LRectToRect(const GEO_LRect& r) {
  auto clamp16 = [](int32_t v) { return static_cast<int16_t>(std::clamp<int32_t>(v, INT16_MIN, INT16_MAX)); };
  return GEO_Rect{clamp16(r.top), clamp16(r.left), clamp16(r.bottom), clamp16(r.right)};
}
