// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/RefCounted.h>

#include <concepts>
#include <type_traits>
#include <utility>

namespace kelvane {

template <class Signature>
class Block;

namespace detail {
/// What a block can be made from: anything that is called as it is, but for the block itself.
template <class Callable, class Self, class R, class... Args>
concept BodyFor = !std::same_as<std::remove_cvref_t<Callable>,
                      Self> && std::is_invocable_r_v<R, std::remove_cvref_t<Callable> &, Args...>;
} // namespace detail

/// A shared callable with identity, nullable, one pointer wide. Chains of listeners return a Block as the handle by
/// which it is removed again: a copy is the same block, a second Block made from the same lambda is another one.
///
/// Threads: a Block object belongs to one thread at a time; its callable may be called from several at once, and
/// then protects what it captured itself.
template <class R, class... Args>
class Block<R(Args...)> {
public:
    /// No block.
    constexpr Block() noexcept = default;
    constexpr Block(std::nullptr_t) noexcept {}
    /// Takes any callable, also one that only moves.
    template <detail::BodyFor<Block<R(Args...)>, R, Args...> Callable>
    // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): the concept keeps blocks themselves out
    Block(Callable &&callable)
        : _body(detail::Ref<Body>::adopt(new BodyOf<std::remove_cvref_t<Callable>>(std::forward<Callable>(callable))))
    {
    }

    [[nodiscard]] bool isNull() const noexcept { return !_body; }
    explicit operator bool() const noexcept { return !isNull(); }

    /// Calls the callable. The block must not be null.
    R operator()(Args... args) const
    {
        // The callable may drop the last other reference to itself, so that this one must outlive the call.
        const detail::Ref<Body> running = _body;
        return running->call(std::forward<Args>(args)...);
    }

    /// Whether both are one and the same block (or both none).
    friend bool isSameObject(const Block &a, const Block &b) noexcept { return a._body.get() == b._body.get(); }
    friend bool operator==(const Block &a, const Block &b) noexcept { return isSameObject(a, b); }
    friend bool operator==(const Block &a, std::nullptr_t) noexcept { return a.isNull(); }

private:
    struct Body : detail::RefCounted {
        virtual ~Body() = default;
        virtual R call(Args... args) = 0;
        static void destroy(const Body *body) noexcept { delete body; }
    };
    template <class Callable>
    struct BodyOf final : Body {
        explicit BodyOf(Callable source) : callable(std::move(source)) {}
        R call(Args... args) override
        {
            if constexpr (std::is_void_v<R>)
                callable(std::forward<Args>(args)...);
            else
                return callable(std::forward<Args>(args)...);
        }
        Callable callable;
    };

    detail::Ref<Body> _body;
};

} // namespace kelvane
