// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/IDataItem.h>

#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <functional>
#include <memory>
#include <typeinfo>

namespace kelvane {

IDataItem::~IDataItem() = default;

bool IDataItem::isEqual(const IDataItem &other) const
{
    return this == &other;
}

std::size_t IDataItem::hash() const
{
    return std::hash<const IDataItem *>{}(this);
}

String IDataItem::description() const
{
    const char *symbol = typeid(*this).name();
    int status = 0;
    const std::unique_ptr<char, void (*)(void *)> text(
        abi::__cxa_demangle(symbol, nullptr, nullptr, &status), std::free);
    const String className(text ? text.get() : symbol);
    char address[32];
    std::snprintf(address, sizeof address, ": %p>", static_cast<const void *>(this));
    return String::concat({"<", className.view(), address});
}

} // namespace kelvane
