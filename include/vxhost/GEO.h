// GEO: the host's geometry library — rectangles, points, 3x3 matrices and the
// fast colour multiply/divide tables.
#pragma once

#include <cstdint>

#include "vxhost/KU.h"

constexpr int32_t GEO_kVersion = 18;
KU_Err GEO_CheckVersions(int32_t site, int32_t version);

// Half-open rectangles: right and bottom are exclusive.
struct GEO_LRect {
  int32_t left, top, right, bottom;
};
struct GEO_Rect {
  int16_t top, left, bottom, right;
};
struct GEO_LPoint {
  int32_t x, y;
};
struct GEO_FloatPoint {
  double x, y;
};
struct GEO_FloatRect {
  double left, top, right, bottom;
};
template <class T>
struct GEO_Vector2T {
  T x, y;
};

// Row-vector convention: a point (x, y, 1) maps to (x, y, 1) x M; the
// translation is in mat[2][0..1] and the projective terms in mat[0..2][2].
struct GEO_Matrix3 {
  double mat[3][3];
};

enum GEO_MatrixType : int32_t {
  GEO_MatrixType_Identity = 0,
  GEO_MatrixType_Translate = 1,
  GEO_MatrixType_Scale = 2,  // scale and translation
  GEO_MatrixType_Affine = 3,
  GEO_MatrixType_Perspective = 4
};

// Rectangles.
void GEO_SetLRect(GEO_LRect* r, int32_t left, int32_t top, int32_t right, int32_t bottom);
bool GEO_EmptyLRect(const GEO_LRect* r);
bool GEO_EqualLRect(const GEO_LRect* a, const GEO_LRect* b);
// Writes the intersection (all zero when empty) and tells whether it is non-empty.
bool GEO_SectLRect(const GEO_LRect* a, const GEO_LRect* b, GEO_LRect* out);
void GEO_UnionLRect(const GEO_LRect* a, const GEO_LRect* b, GEO_LRect* out);
void GEO_OffsetLRect(GEO_LRect* r, int32_t dx, int32_t dy);
// Moves each side inward by dx and dy; negative values outset.
void GEO_InsetLRect(GEO_LRect* r, int32_t dx, int32_t dy);
bool GEO_PtInLRect(const GEO_LPoint* p, const GEO_LRect* r);
GEO_LRect GEO_RectToLRect(const GEO_Rect& r);
GEO_Rect GEO_LRectToRect(const GEO_LRect& r);

// Matrices.
void GEO_SetIdentityMatrix(GEO_Matrix3* m);
// These append an operation after m: the result maps through m, then the operation.
void GEO_TranslateMatrix(GEO_Matrix3* m, double dx, double dy);
void GEO_ScaleMatrix(GEO_Matrix3* m, double sx, double sy);
void GEO_RotateMatrix(GEO_Matrix3* m, double degrees);
// out = a then b. out may alias either.
void GEO_ConcatMatrix(const GEO_Matrix3* a, const GEO_Matrix3* b, GEO_Matrix3* out);
// False, with no report and out untouched, when m is singular.
bool GEO_InverseMatrixQuiet(const GEO_Matrix3* m, GEO_Matrix3* out);
bool GEO_EqualMatrixWithinEpsilon(const GEO_Matrix3* a, const GEO_Matrix3* b, double epsilon);
GEO_MatrixType GEO_GetMatrixType(const GEO_Matrix3* m);
// Points are divided by their homogeneous weight.
void GEO_TransformFloatPoints(const GEO_Matrix3* m, GEO_FloatPoint* points, int32_t count);
// v is a row vector of three components: v x M, no division.
void GEO_TransformVector3(const GEO_Matrix3* m, double v[3]);
// Bounding box of the transformed corners.
void GEO_TransformFloatRect(const GEO_Matrix3* m, const GEO_FloatRect* in, GEO_FloatRect* out);
// Rounds every entry to the given number of decimal places.
void GEO_RoundMatrix(GEO_Matrix3* m, int32_t places);

// Nearest integer, halves away from zero; saturates at the 32-bit range.
int32_t GEO_RoundDouble(double x);
double GEO_fmod(double x, double y);

// Fast colour multiply and divide tables, 256 rows of 256 bytes indexed by
// alpha x 256 + colour. Reference-counted: each prepare needs an unprepare.
//   fcm[a][v] = a x v / 255 rounded to nearest
//   fcd[a][v] = 255 when v >= a, else (v x 255 + (a >> 1)) / a
KU_Err GEO_PrepareFCMD(int32_t use, int32_t, int32_t, const uint8_t** fcm, const uint8_t** fcd);
KU_Err GEO_UnprepareFCMD();

// Fast trigonometry table: sine and cosine of 4096 steps of a full turn.
struct GEO_FTrigTable {
  int32_t steps;
  const float* sine;    // steps + 1 entries
  const float* cosine;  // steps + 1 entries
};
KU_Err GEO_PrepareFTrig(int32_t use, int32_t, int32_t, const GEO_FTrigTable** table);
KU_Err GEO_UnprepareFTrig();
