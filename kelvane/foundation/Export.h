// SPDX-License-Identifier: Apache-2.0
#pragma once

// Marks what the shared library exports; everything else stays hidden. A static build needs no marks.
#if defined(KELVANE_STATIC)
#define KELVANE_EXPORT
#else
#define KELVANE_EXPORT __attribute__((visibility("default")))
#endif

// At the definition of a structure that an exported class declares for itself: its functions are nobody else's.
#define KELVANE_HIDDEN __attribute__((visibility("hidden")))
