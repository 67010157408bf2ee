/// @file
/// Statuses: the only way in which an error leaves the C interface.
#pragma once

#include <mekapi2.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <string>

namespace MekC {

/// An error that this interface finds itself. Its place is the call.
struct Refusal {
    mek_status status;
    std::string message;
};

[[noreturn]] void refuse(mek_status status, std::string message);

[[noreturn]] void refuseNull(const char* name);

/// @throws Refusal `MEK_MISUSE`: `pointer` is null
inline void checkNotNull(const void* pointer, const char* name) {
    if (pointer == nullptr) {
        refuseNull(name);
    }
}

/// @return `*pointer`
/// @throws Refusal `MEK_MISUSE`: it is null
template <class T>
T& required(T* pointer, const char* name) {
    checkNotNull(pointer, name);
    return *pointer;
}

/// Number of the first bytes of `text` that are whole characters and not more than `limit`.
std::size_t wholeCharacters(const char* text, std::size_t limit);

/// The result of a call. Has space for its message, so that recording an error cannot fail.
class LastError {
public:
    LastError() noexcept { reset(); }
    LastError(const LastError&) = delete;
    LastError& operator=(const LastError&) = delete;

    void clear() noexcept {
        if (error_.status != MEK_OK) {
            reset();
        }
    }

    /// Records an exception.
    /// @param call function of the interface
    mek_status record(const std::exception_ptr& thrown, const char* call) noexcept;

    const mek_error& error() const noexcept { return error_; }

private:
    void reset() noexcept;
    void record(mek_status status, const char* className, const char* message) noexcept;

    mek_error error_{};
    std::array<char, 1024> message_{};
};

/// That of the calls of this thread without a model.
LastError& lastErrorOfThread();

/// Runs the body of a call. Exceptions become its status. `errno` of the application is kept.
template <class Action>
mek_status run(LastError& last, const char* call, const Action& action) noexcept {
    const int errorNumber = errno;
    errno = 0;
    last.clear();
    mek_status status = MEK_OK;
    try {
        action();
    } catch (...) {
        status = last.record(std::current_exception(), call);
    }
    errno = errorNumber;
    return status;
}

/// The same for a call without a model.
template <class Action>
mek_status run(const char* call, const Action& action) noexcept {
    return run(lastErrorOfThread(), call, action);
}

} // namespace MekC
