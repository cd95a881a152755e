// SPDX-License-Identifier: ISC
// The plug-in's two entries, alike but for their names. Hosts look them up unmangled.
#include "shell/entry.h"

#if defined(__GNUC__)
#define QUELLARD_EXPORT __attribute__((visibility("default")))
#else
#define QUELLARD_EXPORT
#endif

extern "C" {

QUELLARD_EXPORT quellard::Orv_TypeIF* getinterface(quellard::audioMasterCallback host);
QUELLARD_EXPORT quellard::Orv_TypeIF* OrvTypeIF(quellard::audioMasterCallback host);

quellard::Orv_TypeIF* getinterface(quellard::audioMasterCallback host) {
  return quellard::openInterface(host);
}

quellard::Orv_TypeIF* OrvTypeIF(quellard::audioMasterCallback host) {
  return quellard::openInterface(host);
}

}  // extern "C"
