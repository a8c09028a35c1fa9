// The standard maths and string routines handed to plug-ins and modules.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "vx/Fill.h"
#include "vx/Modules.h"
#include "vxhost/GEO.h"

namespace {
// Named wrappers: the standard names may be overloaded or built in.
double Atan(double x) { return std::atan(x); }
double Atan2(double y, double x) { return std::atan2(y, x); }
double Ceil(double x) { return std::ceil(x); }
double Cos(double x) { return std::cos(x); }
double Exp(double x) { return std::exp(x); }
double Fabs(double x) { return std::fabs(x); }
double Floor(double x) { return std::floor(x); }
double Log(double x) { return std::log(x); }
double Log10(double x) { return std::log10(x); }
double Pow(double x, double y) { return std::pow(x, y); }
double Sin(double x) { return std::sin(x); }
double Sqrt(double x) { return std::sqrt(x); }
double Tan(double x) { return std::tan(x); }
double Asin(double x) { return std::asin(x); }
double Acos(double x) { return std::acos(x); }
char* Strcpy(char* d, const char* s) { return std::strcpy(d, s); }
}  // namespace

void VXp_FillANSICallbacks(VX_ANSICallbacks* t) {
  *t = VX_ANSICallbacks{Atan, Atan2, Ceil,  Cos, Exp, Fabs,          Floor,  GEO_fmod, VX_Hypot, Log,
                        Log10, Pow,  Sin,   Sqrt, Tan, std::sprintf, Strcpy, Asin,     Acos,     nullptr};
}
