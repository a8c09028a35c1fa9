// Table services for old clients.
#include <cstdarg>

#include "core/Internal.h"
#include "vx/Iterate.h"
#include "vxhost/GEO.h"

VX_Err VX_AppCallback(void*, int32_t selector, ...) {
  va_list args;
  va_start(args, selector);
  VX_Err result = VX_Err_None;
  switch (selector) {
    case 2:
      result = GEO_PrepareFCMD(1, 0, 0, va_arg(args, const uint8_t**), nullptr);
      break;
    case 3:
      result = GEO_PrepareFCMD(1, 0, 0, nullptr, va_arg(args, const uint8_t**));
      break;
    case 4:
    case 5:
      result = GEO_PrepareFTrig(1, 0, 0, va_arg(args, const GEO_FTrigTable**));
      break;
    case 6:
    case 7:
      result = GEO_UnprepareFCMD();
      break;
    case 8:
    case 9:
      result = GEO_UnprepareFTrig();
      break;
    default:
      break;
  }
  va_end(args);
  return result;
}
