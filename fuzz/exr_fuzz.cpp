// libFuzzer driver: the input as an OpenEXR file, from memory, through the
// tool's OpenEXR reader. A refusal is a ToolError; anything else that
// escapes, and every crash, leak or undefined behaviour, is a finding.
#include <Iex.h>
#include <ImfIO.h>

#include <cstring>

#include "FuzzSupport.h"
#include "ImageFormats.h"

namespace {

class MemoryStream : public Imf::IStream {
 public:
  MemoryStream(const uint8_t* data, size_t size) : Imf::IStream("fuzz.exr"), data_(data), size_(size) {}
  bool read(char c[], int n) override {
    if (n < 0 || static_cast<uint64_t>(n) > size_ - position_) throw Iex::InputExc("unexpected end of file");
    std::memcpy(c, data_ + position_, static_cast<size_t>(n));
    position_ += static_cast<uint64_t>(n);
    return position_ < size_;
  }
  uint64_t tellg() override { return position_; }
  void seekg(uint64_t position) override {
    if (position > size_) throw Iex::InputExc("seek past the end");
    position_ = position;
  }

 private:
  const uint8_t* data_;
  uint64_t size_, position_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vxfuzz::Start();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  MemoryStream stream(data, size);
  try {
    vxtool::ReadExr("fuzz.exr", stream, size);
  } catch (const vxtool::ToolError&) {
  }
  return 0;
}
