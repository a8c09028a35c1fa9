// The host layer: the sibling libraries that the VX package imports.
#pragma once

#include "vxhost/Broker.h"
#include "vxhost/GEO.h"
#include "vxhost/KU.h"
#include "vxhost/Misc.h"
#include "vxhost/RB.h"
#include "vxhost/SEQ.h"
#include "vxhost/Workers.h"
#include "vxhost/ADDN.h"
#include "vxhost/ORX.h"
#include "vxhost/OPTS.h"
#include "vxhost/tessacore.h"
