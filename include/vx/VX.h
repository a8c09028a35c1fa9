// The VX package: everything a host or a plug-in includes.
#pragma once

#include "vx/EffectWorld.h"
#include "vx/Fill.h"
#include "vx/Globals.h"
#include "vx/Iterate.h"
#include "vx/Lifecycle.h"
#include "vx/Modules.h"
#include "vx/OverFuncs.h"
#include "vx/PixelTraits.h"
#include "vx/Scratch.h"
#include "vx/Types.h"
#include "vx/World.h"
#include "vx/ColorSettings.h"
#include "vx/ColorTransforms.h"
#include "vx/LinearBlending.h"
