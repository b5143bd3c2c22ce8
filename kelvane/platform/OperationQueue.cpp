// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/OperationQueue.h>

#include "WorkerPool_p.h"

#include <algorithm>

namespace kelvane {

OperationQueue::OperationQueue(std::int64_t maxConcurrentOperationCount)
    : _pool(std::make_shared<WorkerPool>("kelvane-ops", std::max<std::int64_t>(maxConcurrentOperationCount, 1)))
{
}

OperationQueue::~OperationQueue()
{
    _pool->waitUntilIdle();
    _pool->close();
}

void OperationQueue::addOperation(std::shared_ptr<Operation> operation)
{
    if (operation)
        _pool->add(std::move(operation));
}

void OperationQueue::setMaxConcurrentOperationCount(std::int64_t count)
{
    _pool->setLimit(std::max<std::int64_t>(count, 1));
}

std::int64_t OperationQueue::maxConcurrentOperationCount() const
{
    return _pool->limit();
}

std::int64_t OperationQueue::operationCount() const
{
    return _pool->count();
}

void OperationQueue::waitUntilAllOperationsAreFinished()
{
    _pool->waitUntilIdle();
}

} // namespace kelvane
