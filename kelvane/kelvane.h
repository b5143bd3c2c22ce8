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

// platform: operations, queues, locks, logs, tags
#include <kelvane/platform/AttachedPicture.h>
#include <kelvane/platform/AudioMetadata.h>
#include <kelvane/platform/ConditionLock.h>
#include <kelvane/platform/FileMetadataIndex.h>
#include <kelvane/platform/LogLevel.h>
#include <kelvane/platform/Monitor.h>
#include <kelvane/platform/Operation.h>
#include <kelvane/platform/OperationQueue.h>
#include <kelvane/platform/SerialQueue.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

// media: records of media items and the readers that fill them
#include <kelvane/media/LocalMediaRecord.h>
#include <kelvane/media/MediaBase.h>
#include <kelvane/media/Mediadata.h>
#include <kelvane/media/MediaField.h>
