/// @file
/// Operations on files by path: exclusive creation, replacement, synchronisation with the device.
///
/// A function that returns `bool` returns false on an error, whose reason `lastErrorReason` gives
/// until the next call of the system.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace Tyr::Platform {

/// A path as the system takes it.
#if defined(_WIN32)
using NativePath = std::wstring;
#else
using NativePath = std::string;
#endif

/// The native form of a path; none for a path that `pathExists` calls invalid.
/// @{
std::optional<NativePath> nativePath(const std::string& path);
std::optional<NativePath> nativePath(const std::wstring& path);
/// @}

/// A native path in UTF-8, for messages and records.
std::string displayPath(const NativePath& path);

/// The same in quotation marks.
inline std::string inQuotes(const NativePath& path) { return '"' + displayPath(path) + '"'; }

/// A name in UTF-8 as the end of a native path; none if it is not valid UTF-8.
std::optional<NativePath> nativeName(const std::string& utf8);

/// `path` followed by ASCII characters.
NativePath withSuffix(const NativePath& path, const std::string& suffix);

/// The path of the folder with its last separator, empty without one; and the rest of the path.
/// @{
NativePath folderOf(const NativePath& path);
NativePath nameOf(const NativePath& path);
/// @}

/// The file that a symbolic link leads to, which need not exist; `path` itself if it is no link.
NativePath linkTarget(const NativePath& path);

bool fileExists(const NativePath& path);
bool isRegularFile(const NativePath& path);

/// Opens a file that must not exist, for writing. The stream is closed by the caller.
/// @param isPrivate whether only its owner may read it; not on Windows
/// @return null on an error
std::FILE* createFile(const NativePath& path, bool isPrivate = false);

/// Opens a file for writing, which is created or emptied. The stream is closed by the caller.
/// @return null on an error
std::FILE* createOrEmptyFile(const NativePath& path);

/// Opens a file for reading. The stream is closed by the caller.
/// @return null on an error
std::FILE* openFileForReading(const NativePath& path);

/// Gives `to` the permission bits of `from`. Does nothing on Windows.
bool copyPermissions(const NativePath& from, const NativePath& to);

/// Renames a file.
/// @param replace false: an existing file at `to` is an error
bool renameFile(const NativePath& from, const NativePath& to, bool replace);

bool removeFile(const NativePath& path);

/// The length of an open file in the system; 0 if the system reports none.
std::uint64_t fileLength(std::FILE* stream);

/// Sets the length of a file that is open for writing. Flushes the stream before.
bool setFileLength(std::FILE* stream, std::uint64_t length);

/// Flushes the stream and waits until the device has all bytes of the file.
bool synchronize(std::FILE* stream);

/// The same for a file that is not open.
bool synchronizeFile(const NativePath& path);

/// Waits until the device has the entries of the folder that contains `path`. Does nothing on
/// Windows, which writes them itself.
bool synchronizeFolderOf(const NativePath& path);

/// Why the last function of this file that returned false or null did so, such as "Permission
/// denied".
std::string lastErrorReason();

/// 16 random bytes.
std::array<unsigned char, 16> randomIdentity();

} // namespace Tyr::Platform
