// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMetaObject>
#include <QObject>

#include <mutex>
#include <utility>
#include <vector>

namespace kelvane::qt {

/// News from any thread to a QObject: kept in order, and taken out by the object on its own thread, all that there are
/// at once. The object's slot `flush()` is called there as soon as its event loop gets to it, once for any number of
/// messages. Those who post share the mailbox and may outlive the object, which closes it.
///
/// Threads: any posts; that of the object takes and closes.
template <class Message>
class Mailbox {
public:
    explicit Mailbox(QObject *receiver) : _receiver(receiver) {}

    void post(Message message)
    {
        post(std::move(message), [](Message & /*last*/, Message & /*next*/) { return false; });
    }
    /// Where the last message still waits, `merge(last, next)` may take the next one into it and say so.
    template <class Merge>
    void post(Message message, Merge merge)
    {
        const std::lock_guard guard(_lock);
        if (!_receiver)
            return;
        if (_messages.empty())
            QMetaObject::invokeMethod(_receiver, "flush", Qt::QueuedConnection);
        else if (merge(_messages.back(), message))
            return;
        _messages.push_back(std::move(message));
    }
    [[nodiscard]] std::vector<Message> take()
    {
        const std::lock_guard guard(_lock);
        return std::exchange(_messages, {});
    }
    /// Returns when no one posts any more; what is posted later is dropped.
    void close()
    {
        std::vector<Message> unread; // destroyed after the lock is left, because that runs code of the application
        const std::lock_guard guard(_lock);
        _receiver = nullptr;
        unread.swap(_messages);
    }

private:
    std::mutex _lock;
    QObject *_receiver; // guarded by _lock, as the messages
    std::vector<Message> _messages;
};

} // namespace kelvane::qt
