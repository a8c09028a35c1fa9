// The plain nodes for every element type.
#include "vx/opticalflow/Basic.h"

#define VX_FLOW_BASIC_NODES(E, A, S)           \
  template class ColouredFrameGenerator<E, A, S>; \
  template class SimpleCopySampler<E, A>;      \
  template class SimpleLineCopier<E, A>;
VX_FLOW_BASIC_NODES(float, float, 1)
VX_FLOW_BASIC_NODES(int, int, 1)
VX_FLOW_BASIC_NODES(HvVec2, HvVec2, 1)
VX_FLOW_BASIC_NODES(FnPixel8, FnPixelF, 255)
VX_FLOW_BASIC_NODES(FnPixel16, FnPixelF, 32768)
VX_FLOW_BASIC_NODES(FnPixelF, FnPixelF, 1)
VX_FLOW_BASIC_NODES(FnAccumPixel, FnAccumPixel, 1)
template class ColouredFrameGenerator<HvVec2, HvVec2, 123>;
