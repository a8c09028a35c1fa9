// The broker: interface tables of the host's closed libraries, looked up by
// name. A library registers its table; clients fetch it and re-fetch when the
// broker's generation changes.
#pragma once

#include <cstdint>
#include <string>

#include "vxhost/KU.h"

// Looks up an interface table by name; null when there is none.
typedef void* (*KLB_AddressProc)(const char* name);
KU_Err TNT_GetKLBAddressProc(KLB_AddressProc* out);

// The broker's own error object.
class KLB_Error : public KU_CodedException {
 public:
  explicit KLB_Error(std::string text, KU_Err code = 1) : text_(std::move(text)), code_(code) {}
  const char* what() const noexcept override { return text_.c_str(); }
  KU_Err Code() const noexcept override { return code_; }

 private:
  std::string text_;
  KU_Err code_;
};

// Registering or unregistering a table bumps the generation.
void KLB_RegisterInterface(const char* name, void* table);
void KLB_UnregisterInterface(const char* name);
uint32_t KLB_Generation();

// The link step of a client: true when the broker accepts it.
bool KLB_LinkStep();
// Host control for tests: make the link step answer no.
void HOST_SetBrokerLinkAnswer(bool yes);

// The names every client links at start-up; the host layer registers them.
extern const char* const KLB_kCoreInterfaceNames[];
extern const int32_t KLB_kCoreInterfaceCount;
