// The render Guid of colour settings, with its trace.
#include <atomic>
#include <string>

#include "vx/ColorSettings.h"

namespace {

using tessacore::utility::Guid;
using tessacore::utility::MixHash;

constexpr const char* kChannel = "MixHashGuid";
constexpr int kLevel = 6;

// Whether the channel is on, asked again only when the settings change.
// Packed in one word: (change count << 1) | on, and ~0 before the first ask.
std::atomic<uint64_t> g_trace_state{~uint64_t{0}};

bool Tracing() {
  const uint64_t count = tessacore::debug::TraceChangeCount();
  uint64_t state = g_trace_state.load(std::memory_order_relaxed);
  if (state == ~uint64_t{0} || (state >> 1) != count) {
    state = (count << 1) | (tessacore::debug::TraceEnabled(kChannel, kLevel) ? 1 : 0);
    g_trace_state.store(state, std::memory_order_relaxed);
  }
  return state & 1;
}

void TraceLine(const std::string& message) {
  tessacore::debug::Trace("<" + std::to_string(tessacore::debug::CurrentThreadId()) + "> <" + kChannel + "> <" +
                          std::to_string(kLevel) + "> " + message);
}

Guid ToGuid(const MixHash& h) {
  Guid g;
  g.data1 = h.Word(0);
  g.data2 = static_cast<uint16_t>(h.Word(1) >> 16);
  g.data3 = static_cast<uint16_t>(h.Word(1));
  for (int i = 0; i < 4; ++i) {
    g.data4[i] = static_cast<uint8_t>(h.Word(2) >> (24 - 8 * i));
    g.data4[4 + i] = static_cast<uint8_t>(h.Word(3) >> (24 - 8 * i));
  }
  return g;
}

void Mix(MixHash& h, const void* data, size_t size, bool trace) {
  h.MixInData(data, size);
  if (trace) TraceLine("Added " + std::to_string(size) + " bytes, now: " + ToGuid(h).ToString());
}

}  // namespace

Guid VX_ColorSettings::GetRenderGuid() const {
  const bool trace = Tracing();
  if (trace) TraceLine("Start Level 'VX_ColorSettings'");
  MixHash h;
  Mix(h, "VX_ColorSettings", 16, trace);
  Mix(h, profile_id.bytes, 16, trace);
  const uint8_t blending = linear_blending ? 1 : 0, linear = linearize ? 1 : 0;
  Mix(h, &blending, 1, trace);
  Mix(h, &linear, 1, trace);
  const Guid guid = ToGuid(h);
  if (trace) TraceLine("End level");
  return guid;
}
