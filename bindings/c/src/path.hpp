/// @file
/// Paths of the C interface, which are UTF-8 on every system.
#pragma once

#include "errors.hpp"

#include <string>

#if defined(_WIN32)
#include <windows.h>
#endif

namespace MekC {

#if defined(_WIN32)
/// @throws Refusal `MEK_INVALID_ARGUMENTS`: `path` is not valid UTF-8
inline std::wstring toPath(const std::string& path) {
    const auto length = static_cast<int>(path.size());
    std::wstring wide(path.size(), L'\0'); // never longer
    const int used = length == 0 ? 0
                                 : MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.data(),
                                                       length, wide.data(), length);
    if (used == 0 && length != 0) {
        refuse(MEK_INVALID_ARGUMENTS, "the path is not valid UTF-8");
    }
    wide.resize(static_cast<std::size_t>(used));
    return wide;
}
#else
inline std::string toPath(std::string path) { return path; }
#endif

} // namespace MekC
