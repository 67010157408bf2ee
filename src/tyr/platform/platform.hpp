/// @file
/// The few calls that differ between systems, in one POSIX and one Windows form.
///
/// Narrow paths go to the system as they are. Wide paths are the system's own wide file names, or,
/// where it has none, their UTF-8 form. A path that holds a NUL, or a wide path that is not
/// Unicode, names no file: it neither exists nor can be opened.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace Tyr::Platform {

bool pathExists(const std::string& path);
bool pathExists(const std::wstring& path);

/// @return null if the file cannot be opened; the caller closes the stream
std::FILE* openFile(const std::string& path, const char* mode);
std::FILE* openFile(const std::wstring& path, const wchar_t* mode);

/// Moves to a position from the start of the file. @return false on failure
bool seekTo(std::FILE* stream, std::uint64_t position);

/// A wide path as narrow text for people to read; what cannot be shown becomes '?'.
std::string narrowText(const std::wstring& text);

/// Local time in the form "%a %b %d %H:%M:%S %Y %Z" of `strftime`.
std::string localDate();

/// Empty if the system does not tell.
std::string computerName();

/// Empty if the system does not tell.
std::string userName();

} // namespace Tyr::Platform
