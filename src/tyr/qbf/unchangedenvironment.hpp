/// @file
/// Reads an environment variable once for a whole call of the library.
#pragma once

#include <cstdint>
#include <optional>

namespace TyrQbf {

/// While one exists, its thread reads the block size variable at most once.
///
/// Every `Put` uses the value of the variable at that time. A search of the environment is
/// linear in the number of environment variables; `close` of a model with 10^5 groups would make
/// 600,000 of them and take 4 % longer with 45 environment variables, 8 % with 100. The application
/// cannot change its environment during a call of the library, so one search gives the same value.
///
/// Invariant: outside of all scopes of a thread nothing is kept, and `Value` always reads. Scopes
/// nest; the outermost one ends the period. Threads do not share what they have read.
class UnchangedEnvironment {
public:
    using Reader = std::optional<std::uint32_t> (*)();

    UnchangedEnvironment();

    /// The same with a value that takes the place of the variable.
    explicit UnchangedEnvironment(std::optional<std::uint32_t> value);

    UnchangedEnvironment(const UnchangedEnvironment&) = delete;
    UnchangedEnvironment& operator=(const UnchangedEnvironment&) = delete;
    ~UnchangedEnvironment();

    /// Whether a value takes the place of the variable on this thread.
    static bool IsReplaced();

    /// The value of the variable: within a scope the result of the first `read`, otherwise of a
    /// new one.
    static std::optional<std::uint32_t> Value(Reader read);
};

} // namespace TyrQbf
