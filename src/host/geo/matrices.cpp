// 3x3 matrices in the row-vector convention: (x, y, 1) x M.
#include <algorithm>
#include <cmath>
#include <limits>

#include "vxhost/GEO.h"

namespace {

GEO_Matrix3 Multiply(const GEO_Matrix3& a, const GEO_Matrix3& b) {
  GEO_Matrix3 r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) r.mat[i][j] = a.mat[i][0] * b.mat[0][j] + a.mat[i][1] * b.mat[1][j] + a.mat[i][2] * b.mat[2][j];
  return r;
}

GEO_Matrix3 Identity() {
  GEO_Matrix3 m{};
  m.mat[0][0] = m.mat[1][1] = m.mat[2][2] = 1.0;
  return m;
}

}  // namespace

void GEO_SetIdentityMatrix(GEO_Matrix3* m) {
  if (m) *m = Identity();
}

void GEO_TranslateMatrix(GEO_Matrix3* m, double dx, double dy) {
  if (!m) return;
  GEO_Matrix3 t = Identity();
  t.mat[2][0] = dx;
  t.mat[2][1] = dy;
  *m = Multiply(*m, t);
}

void GEO_ScaleMatrix(GEO_Matrix3* m, double sx, double sy) {
  if (!m) return;
  GEO_Matrix3 s = Identity();
  s.mat[0][0] = sx;
  s.mat[1][1] = sy;
  *m = Multiply(*m, s);
}

void GEO_RotateMatrix(GEO_Matrix3* m, double degrees) {
  if (!m) return;
  const double radians = degrees * (M_PI / 180.0);
  const double c = std::cos(radians), s = std::sin(radians);
  GEO_Matrix3 r = Identity();
  r.mat[0][0] = c;
  r.mat[0][1] = s;
  r.mat[1][0] = -s;
  r.mat[1][1] = c;
  *m = Multiply(*m, r);
}

void GEO_ConcatMatrix(const GEO_Matrix3* a, const GEO_Matrix3* b, GEO_Matrix3* out) {
  if (a && b && out) *out = Multiply(*a, *b);
}

bool GEO_InverseMatrixQuiet(const GEO_Matrix3* m, GEO_Matrix3* out) {
  if (!m || !out) return false;
  const auto& a = m->mat;
  const double c00 = a[1][1] * a[2][2] - a[1][2] * a[2][1];
  const double c01 = a[1][2] * a[2][0] - a[1][0] * a[2][2];
  const double c02 = a[1][0] * a[2][1] - a[1][1] * a[2][0];
  const double det = a[0][0] * c00 + a[0][1] * c01 + a[0][2] * c02;
  double scale = 0.0;
  for (const auto& row : a)
    for (double v : row) scale = std::max(scale, std::fabs(v));
  if (!std::isfinite(det) || scale == 0.0 || std::fabs(det) <= 1e-14 * scale * scale * scale) return false;
  const double inv = 1.0 / det;
  GEO_Matrix3 r;
  r.mat[0][0] = c00 * inv;
  r.mat[0][1] = (a[0][2] * a[2][1] - a[0][1] * a[2][2]) * inv;
  r.mat[0][2] = (a[0][1] * a[1][2] - a[0][2] * a[1][1]) * inv;
  r.mat[1][0] = c01 * inv;
  r.mat[1][1] = (a[0][0] * a[2][2] - a[0][2] * a[2][0]) * inv;
  r.mat[1][2] = (a[0][2] * a[1][0] - a[0][0] * a[1][2]) * inv;
  r.mat[2][0] = c02 * inv;
  r.mat[2][1] = (a[0][1] * a[2][0] - a[0][0] * a[2][1]) * inv;
  r.mat[2][2] = (a[0][0] * a[1][1] - a[0][1] * a[1][0]) * inv;
  *out = r;
  return true;
}

bool GEO_EqualMatrixWithinEpsilon(const GEO_Matrix3* a, const GEO_Matrix3* b, double epsilon) {
  if (!a || !b) return false;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      if (!(std::fabs(a->mat[i][j] - b->mat[i][j]) <= epsilon)) return false;
  return true;
}

GEO_MatrixType GEO_GetMatrixType(const GEO_Matrix3* m) {
  if (!m) return GEO_MatrixType_Identity;
  const auto& a = m->mat;
  if (a[0][2] != 0.0 || a[1][2] != 0.0 || a[2][2] != 1.0) return GEO_MatrixType_Perspective;
  if (a[0][1] != 0.0 || a[1][0] != 0.0) return GEO_MatrixType_Affine;
  if (a[0][0] != 1.0 || a[1][1] != 1.0) return GEO_MatrixType_Scale;
  if (a[2][0] != 0.0 || a[2][1] != 0.0) return GEO_MatrixType_Translate;
  return GEO_MatrixType_Identity;
}

void GEO_TransformFloatPoints(const GEO_Matrix3* m, GEO_FloatPoint* points, int32_t count) {
  if (!m || !points) return;
  const auto& a = m->mat;
  for (int32_t i = 0; i < count; ++i) {
    const double x = points[i].x, y = points[i].y;
    double tx = x * a[0][0] + y * a[1][0] + a[2][0];
    double ty = x * a[0][1] + y * a[1][1] + a[2][1];
    const double w = x * a[0][2] + y * a[1][2] + a[2][2];
    if (w != 1.0 && w != 0.0) {
      tx /= w;
      ty /= w;
    }
    points[i] = GEO_FloatPoint{tx, ty};
  }
}

void GEO_TransformVector3(const GEO_Matrix3* m, double v[3]) {
  if (!m || !v) return;
  const auto& a = m->mat;
  double r[3];
  for (int j = 0; j < 3; ++j) r[j] = v[0] * a[0][j] + v[1] * a[1][j] + v[2] * a[2][j];
  v[0] = r[0];
  v[1] = r[1];
  v[2] = r[2];
}

void GEO_TransformFloatRect(const GEO_Matrix3* m, const GEO_FloatRect* in, GEO_FloatRect* out) {
  if (!m || !in || !out) return;
  GEO_FloatPoint corners[4] = {{in->left, in->top}, {in->right, in->top}, {in->left, in->bottom}, {in->right, in->bottom}};
  GEO_TransformFloatPoints(m, corners, 4);
  GEO_FloatRect r{corners[0].x, corners[0].y, corners[0].x, corners[0].y};
  for (const GEO_FloatPoint& p : corners) {
    r.left = std::min(r.left, p.x);
    r.top = std::min(r.top, p.y);
    r.right = std::max(r.right, p.x);
    r.bottom = std::max(r.bottom, p.y);
  }
  *out = r;
}

void GEO_RoundMatrix(GEO_Matrix3* m, int32_t places) {
  if (!m) return;
  const double scale = std::pow(10.0, std::clamp(places, 0, 15));
  for (auto& row : m->mat)
    for (double& v : row) {
      v = std::round(v * scale) / scale;
      if (v == 0.0) v = 0.0;  // no negative zero
    }
}

int32_t GEO_RoundDouble(double x) {
  if (std::isnan(x)) return 0;
  const double r = std::round(x);
  if (r >= 2147483647.0) return std::numeric_limits<int32_t>::max();
  if (r <= -2147483648.0) return std::numeric_limits<int32_t>::min();
  return static_cast<int32_t>(r);
}

double GEO_fmod(double x, double y) { return std::fmod(x, y); }
