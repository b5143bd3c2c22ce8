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

// platform: operations, queues, logs, processes, and what else the system gives
#include <kelvane/platform/AttachedPicture.h>
#include <kelvane/platform/AudioMetadata.h>
#include <kelvane/platform/Bundle.h>
#include <kelvane/platform/CalendarDate.h>
#include <kelvane/platform/ConditionLock.h>
#include <kelvane/platform/DateFormatter.h>
#include <kelvane/platform/FileCopy.h>
#include <kelvane/platform/FileHandle.h>
#include <kelvane/platform/FileMetadataIndex.h>
#include <kelvane/platform/FMDatabase.h>
#include <kelvane/platform/FMResultSet.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/ImageDestination.h>
#include <kelvane/platform/ImageFormat.h>
#include <kelvane/platform/ImageSource.h>
#include <kelvane/platform/LogLevel.h>
#include <kelvane/platform/Monitor.h>
#include <kelvane/platform/Operation.h>
#include <kelvane/platform/OperationQueue.h>
#include <kelvane/platform/Paths.h>
#include <kelvane/platform/Pipe.h>
#include <kelvane/platform/Process.h>
#include <kelvane/platform/PropertyList.h>
#include <kelvane/platform/RunLoop.h>
#include <kelvane/platform/SerialQueue.h>
#include <kelvane/platform/StringEncoding.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/SystemVersion.h>
#include <kelvane/platform/Thumbnail.h>
#include <kelvane/platform/TypeIdentifier.h>
#include <kelvane/platform/TypeTag.h>
#include <kelvane/platform/UsbDiscovery.h>
#include <kelvane/platform/UserDefaults.h>
#include <kelvane/platform/Uuid.h>
#include <kelvane/platform/ZenLogger.h>

// common: tasks and utilities
#include <kelvane/common/AsyncExecuteCompletedArgs.h>
#include <kelvane/common/AsyncExecuteProcessTask.h>
#include <kelvane/common/AsyncResult.h>
#include <kelvane/common/AsyncTask.h>
#include <kelvane/common/AsyncTaskCallbackDelegate.h>
#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/common/AsyncTaskResultCode.h>
#include <kelvane/common/AsyncTaskState.h>
#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/common/Base64Encode.h>
#include <kelvane/common/BaseAsyncTask.h>
#include <kelvane/common/CancelOnSignal.h>
#include <kelvane/common/CollectionExtensions.h>
#include <kelvane/common/DummyAsyncTask.h>
#include <kelvane/common/Guid.h>
#include <kelvane/common/IAsyncTask.h>
#include <kelvane/common/IAsyncTask2.h>
#include <kelvane/common/IAsyncTaskDelegate.h>
#include <kelvane/common/IAsyncTaskStepEvent.h>
#include <kelvane/common/IMultiAsyncTask.h>
#include <kelvane/common/MultiAsyncTask.h>
#include <kelvane/common/ParallelAsyncTask.h>
#include <kelvane/common/PerformanceTimer.h>
#include <kelvane/common/RandomIdentifier.h>
#include <kelvane/common/StringExtensions.h>
#include <kelvane/common/SyncCompletedDelegate.h>
#include <kelvane/common/SyncCompletedNotification.h>
#include <kelvane/common/SyncItemAsyncTask.h>
#include <kelvane/common/SyncItemCompletedDelegate.h>
#include <kelvane/common/SyncItemCompletedNotification.h>
#include <kelvane/common/SyncItemEvent.h>
#include <kelvane/common/TaskAwaitable.h>
#include <kelvane/common/TaskFuture.h>
#include <kelvane/common/TaskObserver.h>
#include <kelvane/common/TaskResult.h>
#include <kelvane/common/TypedTask.h>
#include <kelvane/common/Utils.h>
#include <kelvane/common/Version.h>

// data: editable items and their lists
#include <kelvane/data/DataItem.h>
#include <kelvane/data/DataItemAction.h>
#include <kelvane/data/DataItemChangeEventArgs.h>
#include <kelvane/data/DataItemList.h>
#include <kelvane/data/DataItemState.h>
#include <kelvane/data/DeviceInfo.h>
#include <kelvane/data/IDataItem.h>
#include <kelvane/data/IDataItemList.h>
#include <kelvane/data/IDeviceInfo.h>
#include <kelvane/data/IDeviceUsbInfo.h>
#include <kelvane/data/IMobileReadSync.h>
#include <kelvane/data/IRootDeviceData.h>
#include <kelvane/data/ObservableDataItemList.h>
#include <kelvane/data/RootDeviceDataItem.h>
#include <kelvane/data/TypedDataItem.h>

// media: records of media and their readers
#include <kelvane/media/HeicConverter.h>
#include <kelvane/media/LocalMediaRecord.h>
#include <kelvane/media/MediaBase.h>
#include <kelvane/media/Mediadata.h>
#include <kelvane/media/MediaField.h>
#include <kelvane/media/MimeTypes.h>
#include <kelvane/media/PlaylistBase.h>
#include <kelvane/media/PlaylistItems.h>
#include <kelvane/media/PlaylistRecord.h>
#include <kelvane/media/TagFile.h>

// storage: databases and file copies
#include <kelvane/storage/FastFileCopyer.h>
#include <kelvane/storage/FastFileCopyerDelegate.h>
#include <kelvane/storage/SqliteHelper.h>
