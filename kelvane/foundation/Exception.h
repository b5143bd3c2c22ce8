// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <exception>
#include <memory>
#include <vector>

namespace kelvane {

/// An exception object: a name that programs test, a reason that people read, and the call stack of the place where
/// it was made. Copies share their content.
///
/// Work that runs inside a task may throw this, or anything derived from std::exception (see from()); both end in a
/// failed task. Anything else that is thrown is passed on.
///
/// Threads: any; the content never changes.
class KELVANE_EXPORT Exception : public std::exception {
public:
    /// Takes the call stack of the caller.
    explicit Exception(String name, String reason = {}, Dictionary userInfo = {});
    ~Exception() override;
    Exception(const Exception &) noexcept;
    Exception &operator=(const Exception &) noexcept;

    /// `exception` itself where it is an Exception; else one with the type's name as name and what() as reason, and
    /// with the call stack of this place, because the place of the throw is lost by then.
    [[nodiscard]] static std::shared_ptr<const Exception> from(const std::exception &exception);

    /// What kind of failure it is. Never null.
    [[nodiscard]] const String &name() const noexcept;
    /// Why it failed, may be null.
    [[nodiscard]] const String &reason() const noexcept;
    [[nodiscard]] const Dictionary &userInfo() const noexcept;
    /// Innermost first.
    [[nodiscard]] const std::vector<void *> &callStackReturnAddresses() const noexcept;
    /// One line for each return address: module, function, offset. Worked out by each call.
    [[nodiscard]] std::vector<String> callStackSymbols() const;

    /// The reason, or the name where there is no reason.
    [[nodiscard]] String description() const;
    /// The same as description(), for code that knows only std::exception.
    [[nodiscard]] const char *what() const noexcept override;

private:
    struct Content;
    std::shared_ptr<const Content> _content;
};

} // namespace kelvane
