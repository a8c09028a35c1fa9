// Reading a world at a fractional position: the sampling parameter block and
// the routine types of the samplers in the table of replaceable operations.
// Positions are VX_Fix16 pixels; (i, j) with zero fractions is pixel (i, j).
// Every sampler returns 0 and never reads `progress`.
#pragma once

#include <cstdint>

#include "vx/Types.h"

// Area samplers read the radii and `area` (4 x radius_x x radius_y); the
// subpixel samplers only `src`.
struct VX_SampPB {
  VX_Fix16 radius_x;
  VX_Fix16 radius_y;
  VX_Fix16 area;
  const VX_LayerDef* src;
};

// One position: (progress, x, y, sampPB, out).
template <class Pixel>
using VX_SampleProc = VX_Err (*)(VX_ProgressInfo* progress, VX_Fix16 x, VX_Fix16 y, const VX_SampPB* sampPB,
                                 Pixel* out);
// With the weights made once by the caller (a quad from VX_SampleWeightsProc).
template <class Pixel>
using VX_TranslateSampleProc = VX_Err (*)(VX_ProgressInfo* progress, VX_Fix16 x, VX_Fix16 y, const double* weights,
                                          const VX_SampPB* sampPB, Pixel* out);
// Also tells whether the 2 x 2 block lay wholly inside the world (one byte).
template <class Pixel>
using VX_PlusSampleProc = VX_Err (*)(VX_ProgressInfo* progress, VX_Fix16 x, VX_Fix16 y, const VX_SampPB* sampPB,
                                     uint8_t* all_in, Pixel* out);
// `count` pixels along a row at the same fractions; each output alpha is
// added to *alpha_sum, which is not cleared.
template <class Pixel>
using VX_SpanSampleProc = VX_Err (*)(VX_ProgressInfo* progress, int32_t count, VX_Fix16 x, VX_Fix16 y,
                                     const VX_SampPB* sampPB, uint32_t* alpha_sum, Pixel* out);
// Four 8-bit positions at once: `points` holds four (x, y) pairs, `weights`
// four quads in a row, `out` four pixels.
typedef VX_Err (*VX_SampleQuadProc)(VX_ProgressInfo* progress, const VX_Fix16* points, const VX_SampPB* sampPB,
                                    VX_Pixel8* out);
typedef VX_Err (*VX_TranslateSampleQuadProc)(VX_ProgressInfo* progress, const VX_Fix16* points,
                                             const double* weights, const VX_SampPB* sampPB, VX_Pixel8* out);
// The weight quad w00, w10, w01, w11 of two 16-bit fractions.
typedef VX_Err (*VX_SampleWeightsProc)(uint16_t fx, uint16_t fy, double* weights);

typedef VX_SampleProc<VX_Pixel8> VX_SampleProc8;
typedef VX_SampleProc<VX_Pixel16> VX_SampleProc16;
typedef VX_TranslateSampleProc<VX_Pixel8> VX_TranslateSampleProc8;
typedef VX_TranslateSampleProc<VX_Pixel16> VX_TranslateSampleProc16;
typedef VX_PlusSampleProc<VX_Pixel8> VX_PlusSampleProc8;
typedef VX_PlusSampleProc<VX_Pixel16> VX_PlusSampleProc16;
typedef VX_SpanSampleProc<VX_Pixel8> VX_SpanSampleProc8;
typedef VX_SpanSampleProc<VX_Pixel16> VX_SpanSampleProc16;
