// SPDX-License-Identifier: Apache-2.0
#include "LoadedMediaModule.h"

#include "Module.h"

namespace kelvane::detail {
namespace {

const MediaModule *load()
{
    const Module module(mediaModuleFile);
    const auto entry = module.function<MediaModuleEntry>(mediaModuleEntry);
    const MediaModule *table = entry ? entry() : nullptr;
    return table && table->version == mediaModuleVersion ? table : nullptr;
}

} // namespace

const MediaModule *mediaModule()
{
    static const MediaModule *const table = load();
    return table;
}

} // namespace kelvane::detail
