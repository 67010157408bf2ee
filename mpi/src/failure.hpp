/// @file
/// An error on its way between ranks.
#pragma once

#include <array>
#include <cstdint>

namespace Tyr::Mek2 {

/// The class and the message of an exception, as plain bytes that can be sent. Long messages are
/// cut. Making one needs no memory.
struct Failure {
    static constexpr std::int32_t modelDestroyed = -1;

    Failure() = default;
    Failure(std::int32_t errorCode, const char* text) noexcept;

    /// Of the exception that is being handled.
    static Failure current() noexcept;

    explicit operator bool() const { return code != 0; }

    /// Raises the exception.
    [[noreturn]] void raise(std::int32_t rank) const;

    std::int32_t code = 0; ///< number of the exception class; 0: no error
    std::array<char, 508> message{};
};

/// Runs an action and catches what it throws.
template <class Action>
Failure failureOf(const Action& action) noexcept {
    try {
        action();
        return {};
    } catch (...) {
        return Failure::current();
    }
}

} // namespace Tyr::Mek2
