// tessacore: the core sibling library's Guid, 128-bit mixing hash, trace
// channels and assertions.
//
// Traces: a channel is off until a host gives it a level with
// tessacore::debug::SetTraceLevel("MixHashGuid", 6); a trace at level L goes
// out when the channel's level is at least L. Lines go to standard error
// unless a host installs its own sink.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tessacore {
namespace utility {

struct Guid {
  uint32_t data1 = 0;
  uint16_t data2 = 0;
  uint16_t data3 = 0;
  uint8_t data4[8] = {};

  // "{01234567-89AB-CDEF-0123-456789ABCDEF}": data1, data2, data3, then the
  // eight bytes of data4 in order, upper-case hexadecimal.
  std::string ToString() const;
  // Reads that form (braces optional, either case); false for anything else.
  static bool FromString(const std::string& text, Guid* out);
  bool IsNull() const;
  friend bool operator==(const Guid& a, const Guid& b);
  friend bool operator!=(const Guid& a, const Guid& b) { return !(a == b); }
};

// A 128-bit value, four 32-bit words starting at zero, into which bytes are
// mixed. Each MixInData first adds the byte count to the fourth word, then
// replaces the value by the 128-bit xxHash of the value followed by the bytes.
class MixHash {
 public:
  void MixInData(const void* data, size_t size);
  uint32_t Word(int index) const { return words_[index]; }  // 0..3

 private:
  uint32_t words_[4] = {0, 0, 0, 0};
};

}  // namespace utility

namespace debug {

// True when `channel` is set to `level` or above.
bool TraceEnabled(const char* channel, int level);
// Goes up by one at every change of any channel's level, so a caller may keep
// the answer of TraceEnabled until it moves.
uint32_t TraceChangeCount();
// Sends one line (without its end of line) to the sink.
void Trace(const std::string& line);
// The id of the calling thread as traces show it.
uint64_t CurrentThreadId();

// Host control: a channel's level (0 turns it off), and the sink of lines
// (null restores standard error).
void SetTraceLevel(const char* channel, int level);
typedef void (*TraceSink)(const std::string& line, void* refcon);
void SetTraceSink(TraceSink sink, void* refcon);

// Assertions: the failure is reported through KU_ReportFailedVerification;
// the result says whether to stop in the debugger, which is only ever so when
// one is attached and the host has allowed it.
bool IsDebuggerAttached();
bool BreakAfterAssertDialog(const char* message, const char* function, const char* file, int line,
                            const char* expression);
void SetBreakOnAssert(bool allowed);

}  // namespace debug
}  // namespace tessacore

#define TESSA_ASSERT(expression, message)                                                                   \
  do {                                                                                                      \
    if (!(expression) &&                                                                                    \
        ::tessacore::debug::BreakAfterAssertDialog((message), __func__, __FILE__, __LINE__, #expression)) \
      __builtin_trap();                                                                                     \
  } while (0)
