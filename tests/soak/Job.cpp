// SPDX-License-Identifier: Apache-2.0
#include "Job.h"

#include <array>

namespace kelvane::soak {

std::span<const Job> jobs()
{
    static const std::array<Job, 15> all{{
        {"tasks", runTasks},
        {"task groups", groupTasks},
        {"programs", runPrograms},
        {"items", editItems},
        {"items by tasks", commitByTasks},
        {"tables", keepTables},
        {"file copies", copyFiles},
        {"tree copies", copyTrees},
        {"defaults", keepDefaults},
        {"property lists", writePropertyLists},
        {"tags", rewriteTags},
        {"media", readMedia},
        {"photos", convertPhotos},
        {"sync", syncFolder},
        {"interrupted sync", interruptSync},
    }};
    return all;
}

} // namespace kelvane::soak
