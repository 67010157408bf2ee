/// @file
/// The calls that differ between systems, implemented for POSIX and for Windows.
///
/// Narrow paths are passed to the system unchanged. Wide paths are passed unchanged on Windows and
/// in UTF-8 on POSIX. A path that contains a NUL, or a wide path that is not valid Unicode, is
/// invalid: it does not exist and cannot be opened.
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

/// Sets the file position, counted from the start of the file. @return false if that fails
bool seekTo(std::FILE* stream, std::uint64_t position);

/// A wide path as a narrow string for log lines; characters without a narrow form become '?'.
std::string narrowString(const std::wstring& wide);

/// Local time in the form "%a %b %d %H:%M:%S %Y %Z" of `strftime`.
std::string localDate();

/// Empty if the system reports none, or one that does not fit 80 bytes with its NUL.
/// @{
std::string computerName();
std::string userName();
/// @}

} // namespace Tyr::Platform
