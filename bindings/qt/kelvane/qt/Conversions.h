// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

#include <QString>

namespace kelvane::qt {

// Texts from one world to the other. Both copy.
//
// Threads: any.
// Errors: nothing throws but std::bad_alloc. A lone surrogate becomes U+FFFD, which files never hold.

/// Null stays null.
[[nodiscard]] inline QString toQString(const String &text)
{
    return text.isNull() ? QString() : QString::fromUtf8(text.c_str(), static_cast<qsizetype>(text.size()));
}

/// Null stays null.
[[nodiscard]] inline String fromQString(const QString &text)
{
    return text.isNull() ? String() : String(text.toStdString());
}

} // namespace kelvane::qt
