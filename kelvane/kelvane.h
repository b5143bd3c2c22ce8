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

// data: editable items and observable lists
#include <kelvane/data/DataItemAction.h>
#include <kelvane/data/DataItemState.h>
#include <kelvane/data/IDataItem.h>

// common: tasks
#include <kelvane/common/AsyncResult.h>
#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/AsyncTaskResultCode.h>
#include <kelvane/common/AsyncTaskState.h>
#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/common/BaseAsyncTask.h>
#include <kelvane/common/DummyAsyncTask.h>
#include <kelvane/common/IAsyncTask.h>
#include <kelvane/common/IAsyncTask2.h>
#include <kelvane/common/IAsyncTaskDelegate.h>
#include <kelvane/common/IAsyncTaskStepEvent.h>
#include <kelvane/common/SyncCompletedDelegate.h>
#include <kelvane/common/SyncCompletedNotification.h>
#include <kelvane/common/SyncItemAsyncTask.h>
#include <kelvane/common/SyncItemCompletedDelegate.h>
#include <kelvane/common/SyncItemCompletedNotification.h>
#include <kelvane/common/SyncItemEvent.h>
