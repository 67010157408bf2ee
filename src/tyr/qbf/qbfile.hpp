/// @file
/// One output file of the container format.
#pragma once

#include "tyr/qbf/index.hpp"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

namespace TyrQbf {

/// Identifies a container; at offset 0.
extern const std::array<unsigned char, 8> FileSignature;

/// Version of the container format, "1.3" and a NUL; at offset 8.
extern const std::array<unsigned char, 4> FileFormatVersion;

/// Owns the open stream and the index of its blocks. For one file: the index is not reset when
/// another is opened.
class QbFile {
public:
    QbFile() = default;
    QbFile(const QbFile&) = delete;
    QbFile& operator=(const QbFile&) = delete;

    /// Closes the stream and writes nothing. An unfinished file has no index.
    virtual ~QbFile();

    /// Closes the stream if it is open. Writes neither blocks nor index.
    virtual void CloseFile();

    /// Creates or empties a file.
    /// @throws FileOpenException "File exists.": it does and `overwrite` is false
    /// @throws MiscelleneousException as `OpenFile`
    void OpenFileForWriting(const std::string& path, bool overwrite);
    void OpenFileForWriting(const std::wstring& path, bool overwrite);

    /// Opens a file in a mode of `fopen`.
    /// @throws MiscelleneousException "File stream is already in use", or "Unable to open file "
    ///     and the quoted path; of a wide path, the low byte of each character
    void OpenFile(const std::string& path, const char* const mode);
    void OpenFile(const std::wstring& path, const wchar_t* const mode);

    /// Calls `Index::SetBlockFlags` with the low 8 bits of `flags`.
    void SetBlockFlags(const std::string& name, unsigned int flags);

    std::FILE* stream = nullptr; ///< null while no file is open
    Index index;

    /// Writes signature and version, the first 12 bytes of a new file. Raises nothing: the stream
    /// keeps its error, and writing the first block reports it.
    void WriteHead();

    /// Marks an unfinished file: writes 16 bytes to the end of the first index table, which is
    /// written over them when the file is finished. Flushes the stream.
    /// @throws FileWriteException "Unable to write to file"
    void WriteIdentity(const std::array<unsigned char, 16>& identity);
};

/// Where `QbFile::WriteIdentity` writes.
constexpr std::uint64_t identityPosition = 2784;

} // namespace TyrQbf
