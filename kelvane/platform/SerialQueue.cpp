// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/SerialQueue.h>

#include "WorkerPool_p.h"

#include <utility>

namespace kelvane {

namespace {

class BlockOperation final : public Operation {
public:
    explicit BlockOperation(Block<void()> block) : _block(std::move(block)) {}
    void main() override { _block(); }

private:
    const Block<void()> _block;
};

} // namespace

SerialQueue::SerialQueue(String label) : _label(std::move(label)), _pool(std::make_shared<WorkerPool>(_label, 1)) {}

SerialQueue::~SerialQueue()
{
    _pool->close();
}

const String &SerialQueue::label() const noexcept
{
    return _label;
}

void SerialQueue::async(Block<void()> block)
{
    if (block)
        _pool->add(std::make_shared<BlockOperation>(std::move(block)));
}

} // namespace kelvane
