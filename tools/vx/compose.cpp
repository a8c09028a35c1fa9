#include <cctype>
#include <cstdlib>
#include <cstring>

#include "Args.h"
#include "Compose.h"
#include "Session.h"
#include "ToolError.h"

namespace vxtool {
namespace {

// "XferSoftLight" -> "soft-light".
std::string ShortName(const char* name) {
  std::string out;
  for (const char* p = name + 4; *p; ++p) {
    if (std::isupper(static_cast<unsigned char>(*p)) && !out.empty()) out += '-';
    out += static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
  }
  return out;
}

// The working space's tables for blending in linear light, built once.
const VX_LinearBlendingTables* LinearTables() {
  static std::shared_ptr<VX_LinearBlendingTables> tables = VX_MakeLinearizationTables(TNT_ORX_GetDefaultProfile());
  return tables.get();
}

}  // namespace

std::string ModeLabel(int32_t mode) {
  const char* name = VX_XferModeName(mode);
  return name ? ShortName(name) : std::to_string(mode);
}

int32_t ParseMode(const std::string& text) {
  const bool numeric = !text.empty() && text.find_first_not_of("+-0123456789") == std::string::npos;
  if (numeric) {
    const auto number = static_cast<int32_t>(ParseInteger(text, -3, 38, "--mode"));
    if (!VX_IsXferMode(number)) throw ToolError("--mode: no transfer mode numbered " + text);
    return number;
  }
  for (int32_t mode = -3; mode <= 38; ++mode) {
    if (!VX_IsXferMode(mode)) continue;
    if (text == ModeLabel(mode) || text == VX_XferModeName(mode)) return mode;
  }
  throw ToolError("unknown transfer mode '" + text + "' (see vx composite --help)");
}

int32_t ParseMatteKind(const std::string& text) {
  const char* kinds[4] = {"alpha", "alpha-inverted", "luma", "luma-inverted"};
  for (int32_t k = 0; k < 4; ++k)
    if (text == kinds[k]) return k;
  throw ToolError("unknown matte kind '" + text + "' (alpha, alpha-inverted, luma or luma-inverted)");
}

VX_World* AtDepth(VX_World& world, int16_t depth, WorldPtr& holder) {
  if (world.Depth() == depth) return &world;
  holder = ConvertDepth(world, depth);
  return holder.get();
}

void Composite(VX_World& background, VX_World& layer, const ComposeOptions& options, VX_ProgressInfo* progress) {
  if (!(options.opacity >= 0.0f && options.opacity <= 1.0f)) throw ToolError("opacity must be between 0 and 1");
  const VX_LinearBlendingTables* tables = options.linear ? LinearTables() : nullptr;
  const VX_CompositeModePlus mode(options.mode, options.opacity, tables, options.keep_alpha, 0);
  VX_TrackMatte matte{};
  if (options.matte) {
    options.matte->FillOutEffectWorld(&matte.matte);
    matte.matte_kind = options.matte_kind;
  }
  // A layer wholly off the background changes nothing (the package leaves
  // the destination alone then, in every mode), and positions far out of
  // range would overflow the package's rectangle arithmetic.
  const int64_t left = options.at_x, top = options.at_y;
  if (left >= background.width || left + layer.width <= 0 || top >= background.height || top + layer.height <= 0)
    return;
  const GEO_LRect all{0, 0, layer.width, layer.height};
  Check(VX_TransferRect(progress, 1, 0, options.field, &all, &layer, &mode, tables, options.matte ? &matte : nullptr,
                        options.at_x, options.at_y, &background),
        "compositing");
}

}  // namespace vxtool
