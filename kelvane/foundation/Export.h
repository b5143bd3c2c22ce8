// SPDX-License-Identifier: Apache-2.0
#pragma once

// Marks what the shared library exports; everything else stays hidden. A static build needs no marks.
#if defined(KELVANE_STATIC)
#define KELVANE_EXPORT
#else
#define KELVANE_EXPORT __attribute__((visibility("default")))
#endif
