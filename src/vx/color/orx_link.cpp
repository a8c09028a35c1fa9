// Fetching the colour engine's interface through the broker.
#include "color/ORXLink.h"
#include "core/Lifecycle.h"
#include "vxhost/Broker.h"

namespace {

struct Link {
  bool fetched = false;
  bool release_registered = false;
  uint32_t generation = 0;
  bool complete = false;
  VXp_ORXProcs procs{};
  const ORX_InterfaceTable* converters = nullptr;
};
Link g_link;

// Shut-down forgets the link (and that its release was registered); the next
// use after a new start fetches again.
void ReleaseLink() { g_link = Link{}; }

const ORX_InterfaceTable* Table(KLB_AddressProc lookup, const char* name) {
  return lookup ? static_cast<const ORX_InterfaceTable*>(lookup(name)) : nullptr;
}

// A table counts only when every procedure the package takes is in it. The
// new link is made aside and put in place whole.
void Fetch() {
  Link link;
  link.fetched = true;
  link.generation = KLB_Generation();
  link.release_registered = g_link.release_registered;
  KLB_AddressProc lookup = nullptr;
  if (TNT_GetKLBAddressProc(&lookup)) lookup = nullptr;
  const ORX_InterfaceTable* table = Table(lookup, ORX_kInterfaceName);
  bool complete = table != nullptr;
#define VXP_ORX_FETCH(member, type, key, name)                              \
  link.procs.member = reinterpret_cast<type>(ORX_FindProc(table, name)); \
  complete = complete && link.procs.member != nullptr;
  VXP_ORX_PROCS(VXP_ORX_FETCH)
#undef VXP_ORX_FETCH
  if (!complete) link.procs = VXp_ORXProcs{};
  link.complete = complete;
  link.converters = Table(lookup, ORX_kBitDepthConverterInterfaceName);
  if (!link.release_registered) {
    link.release_registered = true;
    VXp_AddShutdownRelease(ReleaseLink);
  }
  g_link = link;
}

}  // namespace

const VXp_ORXProcs* VXp_ORX() {
  if (!g_link.fetched || g_link.generation != KLB_Generation()) Fetch();
  return g_link.complete ? &g_link.procs : nullptr;
}

const ORX_InterfaceTable* VXp_ORXBitDepthConverters() {
  VXp_ORX();
  return g_link.converters;
}

TNT_ORX_Transform VXp_MakeTransform(const TNT_ORX_Profile& from, const TNT_ORX_Profile& to, int32_t intent,
                                    const _t_ORX_Options& options) {
  ORXTransform* t = nullptr;
  VXp_ORXCall(&VXp_ORXProcs::make, &t, from.Get(), to.Get(), intent, &options);
  return TNT_ORX_Transform(t);
}

TNT_ORX_Transform VXp_ConcatTransforms(const TNT_ORX_Transform& first, const TNT_ORX_Transform& second) {
  ORXTransform* t = nullptr;
  VXp_ORXCall(&VXp_ORXProcs::concat, &t, first.Get(), second.Get());
  return TNT_ORX_Transform(t);
}

TNT_ORX_Profile VXp_ProfileFromCode(ORX_ProfileCode code) {
  ORXProfile* p = nullptr;
  VXp_ORXCall(&VXp_ORXProcs::profile_from_code, &p, static_cast<int32_t>(code));
  return TNT_ORX_Profile(p);
}
