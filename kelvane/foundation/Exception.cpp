// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Exception.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <memory>
#include <typeinfo>

namespace kelvane {

namespace {

constexpr int maximumFrames = 64;

std::vector<void *> currentCallStack()
{
    std::array<void *, maximumFrames> frames{};
    const int count = backtrace(frames.data(), maximumFrames);
    // This function and the constructor are not what a reader looks for.
    const int skipped = std::min(count, 2);
    return std::vector<void *>(frames.begin() + skipped, frames.begin() + count); // not braces: pointers fit a list
}

String demangled(const char *symbol)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void *)> text(
        abi::__cxa_demangle(symbol, nullptr, nullptr, &status), std::free);
    return text ? text.get() : symbol;
}

String symbolOf(void *address)
{
    Dl_info info{};
    char offset[32];
    if (dladdr(address, &info) == 0) {
        std::snprintf(offset, sizeof offset, "%p", address);
        return offset;
    }
    const void *base = info.dli_saddr ? info.dli_saddr : info.dli_fbase;
    std::snprintf(offset, sizeof offset, " + 0x%zx",
        static_cast<std::size_t>(static_cast<const char *>(address) - static_cast<const char *>(base)));
    const char *module = info.dli_fname ? info.dli_fname : "?";
    if (!info.dli_sname)
        return String::concat({module, offset});
    return String::concat({module, " ", demangled(info.dli_sname).view(), offset});
}

} // namespace

struct Exception::Content {
    String name;
    String reason;
    Dictionary userInfo;
    std::vector<void *> callStack;
};

Exception::Exception(String name, String reason, Dictionary userInfo)
    : _content(std::make_shared<const Content>(Content{name.isNull() ? String("Exception") : std::move(name),
        std::move(reason), std::move(userInfo), currentCallStack()}))
{
}

Exception::~Exception() = default;
Exception::Exception(const Exception &) noexcept = default;
Exception &Exception::operator=(const Exception &) noexcept = default;

std::shared_ptr<const Exception> Exception::from(const std::exception &exception)
{
    if (const auto *own = dynamic_cast<const Exception *>(&exception))
        return std::make_shared<const Exception>(*own);
    return std::make_shared<const Exception>(demangled(typeid(exception).name()), exception.what());
}

const String &Exception::name() const noexcept
{
    return _content->name;
}

const String &Exception::reason() const noexcept
{
    return _content->reason;
}

const Dictionary &Exception::userInfo() const noexcept
{
    return _content->userInfo;
}

const std::vector<void *> &Exception::callStackReturnAddresses() const noexcept
{
    return _content->callStack;
}

std::vector<String> Exception::callStackSymbols() const
{
    std::vector<String> lines;
    lines.reserve(_content->callStack.size());
    for (void *address : _content->callStack)
        lines.push_back(symbolOf(address));
    return lines;
}

String Exception::description() const
{
    return _content->reason.isNull() ? _content->name : _content->reason;
}

const char *Exception::what() const noexcept
{
    return (_content->reason.isNull() ? _content->name : _content->reason).c_str();
}

} // namespace kelvane
