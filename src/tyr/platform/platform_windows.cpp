#include "tyr/platform/platform.hpp"

#include <io.h>
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <array>
#include <ctime>
#include <limits>

namespace Tyr::Platform {

namespace {

template <class String>
bool isFileName(const String& path) {
    return path.find(typename String::value_type()) == String::npos;
}

} // namespace

bool pathExists(const std::string& path) {
    return isFileName(path) && _access(path.c_str(), 0) == 0;
}

bool pathExists(const std::wstring& path) {
    // PathFileExistsW is limited to paths of 260 characters
    return isFileName(path) && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::FILE* openFile(const std::string& path, const char* mode) {
    return isFileName(path) ? std::fopen(path.c_str(), mode) : nullptr;
}

std::FILE* openFile(const std::wstring& path, const wchar_t* mode) {
    return isFileName(path) ? _wfopen(path.c_str(), mode) : nullptr;
}

bool seekTo(std::FILE* stream, std::uint64_t position) {
    if (position > static_cast<std::uint64_t>(std::numeric_limits<__int64>::max())) {
        return false;
    }
    // _fseeki64 flushes the buffer but does not report an error of that
    if (std::fflush(stream) != 0) {
        return false;
    }
    return _fseeki64(stream, static_cast<__int64>(position), SEEK_SET) == 0;
}

std::string narrowString(const std::wstring& wide) {
    const int length = static_cast<int>(wide.size());
    const int size =
        WideCharToMultiByte(CP_ACP, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), length, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

std::string localDate() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    std::array<char, 120> buffer{};
    if (localtime_s(&local, &now) != 0) {
        return {};
    }
    const std::size_t length =
        std::strftime(buffer.data(), buffer.size(), "%a %b %d %H:%M:%S %Y %Z", &local);
    return std::string(buffer.data(), length);
}

std::string computerName() {
    std::array<char, 80> buffer{};
    DWORD size = static_cast<DWORD>(buffer.size());
    return GetComputerNameA(buffer.data(), &size) != 0 ? buffer.data() : "";
}

std::string userName() {
    std::array<char, 80> buffer{};
    DWORD size = static_cast<DWORD>(buffer.size());
    return GetUserNameA(buffer.data(), &size) != 0 ? buffer.data() : "";
}

} // namespace Tyr::Platform
