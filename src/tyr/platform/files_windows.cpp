#include "tyr/platform/files.hpp"

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// after windows.h
#include <ntsecapi.h>

#include <cerrno>
#include <system_error>

namespace Tyr::Platform {

namespace {

std::size_t nameStart(const NativePath& path) {
    const std::size_t separator = path.find_last_of(L"/\\:");
    return separator == NativePath::npos ? 0 : separator + 1;
}

std::optional<NativePath> fromCodePage(unsigned codePage, const std::string& text) {
    if (text.empty()) {
        return NativePath();
    }
    const int length = static_cast<int>(text.size());
    const int size =
        MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text.data(), length, nullptr, 0);
    if (size == 0) {
        return std::nullopt;
    }
    NativePath wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text.data(), length, wide.data(), size);
    return wide;
}

bool succeeded(bool success) {
    if (!success) {
        errno = 0; // the reason is that of `GetLastError`
    }
    return success;
}

} // namespace

std::optional<NativePath> nativePath(const std::string& path) {
    return path.find('\0') == std::string::npos ? fromCodePage(CP_ACP, path) : std::nullopt;
}

std::optional<NativePath> nativePath(const std::wstring& path) {
    return path.find(L'\0') == std::wstring::npos ? std::optional(path) : std::nullopt;
}

std::string displayPath(const NativePath& path) {
    const int length = static_cast<int>(path.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, path.data(), length, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, path.data(), length, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

std::optional<NativePath> nativeName(const std::string& utf8) {
    return fromCodePage(CP_UTF8, utf8);
}

NativePath withSuffix(const NativePath& path, const std::string& suffix) {
    return path + NativePath(suffix.begin(), suffix.end());
}

NativePath folderOf(const NativePath& path) { return path.substr(0, nameStart(path)); }

NativePath nameOf(const NativePath& path) { return path.substr(nameStart(path)); }

NativePath linkTarget(const NativePath& path) { return path; }

bool fileExists(const NativePath& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool isRegularFile(const NativePath& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

std::FILE* createFile(const NativePath& path, bool /*isPrivate*/) {
    int descriptor = -1;
    if (_wsopen_s(&descriptor, path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _SH_DENYNO,
                  _S_IREAD | _S_IWRITE) != 0) {
        return nullptr;
    }
    std::FILE* const stream = _wfdopen(descriptor, L"wb");
    if (stream == nullptr) {
        _close(descriptor);
    }
    return stream;
}

std::FILE* createOrEmptyFile(const NativePath& path) { return _wfopen(path.c_str(), L"wb"); }

std::FILE* openFileForReading(const NativePath& path) { return _wfopen(path.c_str(), L"rb"); }

bool copyPermissions(const NativePath&, const NativePath&) { return true; }

bool renameFile(const NativePath& from, const NativePath& to, bool replace) {
    return succeeded(
        MoveFileExW(from.c_str(), to.c_str(), replace ? MOVEFILE_REPLACE_EXISTING : 0) != 0);
}

bool removeFile(const NativePath& path) { return succeeded(DeleteFileW(path.c_str()) != 0); }

std::uint64_t fileLength(std::FILE* stream) {
    const __int64 length = _filelengthi64(_fileno(stream));
    return length > 0 ? static_cast<std::uint64_t>(length) : 0;
}

bool setFileLength(std::FILE* stream, std::uint64_t length) {
    return std::fflush(stream) == 0 &&
           _chsize_s(_fileno(stream), static_cast<__int64>(length)) == 0;
}

bool synchronize(std::FILE* stream) {
    return std::fflush(stream) == 0 && _commit(_fileno(stream)) == 0; // FlushFileBuffers
}

bool synchronizeFile(const NativePath& path) {
    std::FILE* const stream = _wfopen(path.c_str(), L"r+b");
    const bool done = stream != nullptr && synchronize(stream);
    return stream != nullptr && std::fclose(stream) == 0 && done;
}

bool synchronizeFolderOf(const NativePath&) { return true; }

std::string lastErrorReason() {
    return errno != 0 ? std::generic_category().message(errno)
                      : std::system_category().message(static_cast<int>(GetLastError()));
}

std::array<unsigned char, 16> randomIdentity() {
    std::array<unsigned char, 16> bytes{};
    if (RtlGenRandom(bytes.data(), static_cast<ULONG>(bytes.size())) == 0) {
        bytes = {};
    }
    return bytes;
}

} // namespace Tyr::Platform
