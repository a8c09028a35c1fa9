// The optical-flow framework: textures, nodes, threads and interruption.
#pragma once

#include "vx/opticalflow/Basic.h"
#include "vx/opticalflow/Elements.h"
#include "vx/opticalflow/MultiProcess.h"
#include "vx/opticalflow/Nodes.h"
#include "vx/opticalflow/Texture.h"
