// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

namespace kelvane {

/// A date with a text form of its own, shown in the GMT zone.
struct KELVANE_EXPORT CalendarDate {
    Date date;
    String calendarFormat; ///< as strftime() reads it

    /// The date in the calendar format; null where it cannot be shown.
    [[nodiscard]] String description() const;
};

} // namespace kelvane
