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

// platform: operations, queues, locks and logs
#include <kelvane/platform/ConditionLock.h>
#include <kelvane/platform/LogLevel.h>
#include <kelvane/platform/Monitor.h>
#include <kelvane/platform/Operation.h>
#include <kelvane/platform/OperationQueue.h>
#include <kelvane/platform/SerialQueue.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

// platform: files, property lists, formats, identifiers, what the system says of itself
#include <kelvane/platform/Bundle.h>
#include <kelvane/platform/CalendarDate.h>
#include <kelvane/platform/DateFormatter.h>
#include <kelvane/platform/FileHandle.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/PropertyList.h>
#include <kelvane/platform/StringEncoding.h>
#include <kelvane/platform/SystemVersion.h>
#include <kelvane/platform/Uuid.h>

// common: utilities
#include <kelvane/common/Base64Encode.h>
#include <kelvane/common/CollectionExtensions.h>
#include <kelvane/common/Guid.h>
#include <kelvane/common/PerformanceTimer.h>
#include <kelvane/common/RandomIdentifier.h>
#include <kelvane/common/StringExtensions.h>
#include <kelvane/common/Utils.h>
#include <kelvane/common/Version.h>
