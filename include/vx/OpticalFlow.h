// The optical-flow framework: textures, nodes, threads and interruption,
// blurs, zooms and pyramids.
#pragma once

#include "vx/opticalflow/Basic.h"
#include "vx/opticalflow/Blur.h"
#include "vx/opticalflow/Elements.h"
#include "vx/opticalflow/Estimate.h"
#include "vx/opticalflow/MultiProcess.h"
#include "vx/opticalflow/Nodes.h"
#include "vx/opticalflow/Pair.h"
#include "vx/opticalflow/Pyramid.h"
#include "vx/opticalflow/Texture.h"
#include "vx/opticalflow/Tween.h"
#include "vx/opticalflow/Zoom.h"
