/// @file
/// The environment of the process, on every system.
#pragma once

#include <cstdlib>

namespace Testing {

/// Sets an environment variable, or removes it if `value` is null.
inline void setEnvironment(const char* name, const char* value) {
#if defined(_WIN32)
    _putenv_s(name, value != nullptr ? value : "");
#else
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
#endif
}

} // namespace Testing
