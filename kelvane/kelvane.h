// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Everything that the library offers. Programs that care for build times include what they use instead.

// foundation: the vocabulary
#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Block.h>
#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Exception.h>
#include <kelvane/foundation/Object.h>
#include <kelvane/foundation/Size.h>
#include <kelvane/foundation/String.h>
#include <kelvane/foundation/Value.h>
