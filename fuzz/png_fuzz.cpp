// libFuzzer driver: the input as a PNG file through the tool's PNG reader,
// past the signature check as the tool reads it.
// A refusal is a ToolError; anything else that escapes, and every crash,
// leak or undefined behaviour the sanitizers see, is a finding.
#include <cstdio>

#include "FuzzSupport.h"
#include "ImageFormats.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  vxfuzz::Start();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  FILE* file = fmemopen(const_cast<uint8_t*>(data), size, "rb");
  if (!file) return 0;
  unsigned char signature[8];
  if (std::fread(signature, 1, 8, file) != 8 || !vxtool::LooksLikePng(signature)) {
    std::fclose(file);
    return 0;
  }
  try {
    vxtool::ReadPng("fuzz.png", file, size);
  } catch (const vxtool::ToolError&) {
  }
  std::fclose(file);
  return 0;
}
