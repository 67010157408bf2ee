#include "tyr/platform/files.hpp"
#include "tyr/platform/platform.hpp"

#include <pwd.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <ctime>
#include <limits>
#include <optional>
#include <vector>

namespace Tyr::Platform {

namespace {

constexpr char32_t lastCodePoint = 0x10FFFF;
constexpr std::size_t hostNameSize = 80; // of computer and user name, with the NUL

bool isHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

bool isScalarValue(char32_t codePoint) {
    return codePoint <= lastCodePoint && !isHighSurrogate(codePoint) && !isLowSurrogate(codePoint);
}

void appendUtf8(std::string& utf8, char32_t codePoint) {
    const auto put = [&utf8](char32_t byte) { utf8 += static_cast<char>(byte); };
    const auto continuation = [codePoint](unsigned shift) {
        return 0x80 | ((codePoint >> shift) & 0x3F);
    };
    if (codePoint < 0x80) {
        put(codePoint);
    } else if (codePoint < 0x800) {
        put(0xC0 | (codePoint >> 6));
        put(continuation(0));
    } else if (codePoint < 0x10000) {
        put(0xE0 | (codePoint >> 12));
        put(continuation(6));
        put(continuation(0));
    } else {
        put(0xF0 | (codePoint >> 18));
        put(continuation(12));
        put(continuation(6));
        put(continuation(0));
    }
}

/// Reads the code point at `index` and moves `index` after it. A surrogate pair is one code point.
char32_t nextCodePoint(const std::wstring& wide, std::size_t& index) {
    const auto unit = static_cast<char32_t>(wide[index++]);
    if (isHighSurrogate(unit) && index < wide.size() &&
        isLowSurrogate(static_cast<char32_t>(wide[index]))) {
        const auto low = static_cast<char32_t>(wide[index++]);
        return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
    return unit;
}

std::optional<std::string> toUtf8(const std::wstring& wide) {
    std::string utf8;
    for (std::size_t index = 0; index < wide.size();) {
        const char32_t codePoint = nextCodePoint(wide, index);
        if (!isScalarValue(codePoint)) {
            return std::nullopt;
        }
        appendUtf8(utf8, codePoint);
    }
    return utf8;
}

bool isFileName(const std::string& path) { return path.find('\0') == std::string::npos; }

} // namespace

bool pathExists(const std::string& path) {
    return isFileName(path) && access(path.c_str(), F_OK) == 0;
}

bool pathExists(const std::wstring& path) {
    const std::optional<std::string> name = toUtf8(path);
    return name && pathExists(*name);
}

std::FILE* openFile(const std::string& path, const char* mode) {
    return isFileName(path) ? std::fopen(path.c_str(), mode) : nullptr;
}

std::FILE* openFile(const std::wstring& path, const wchar_t* mode) {
    const std::optional<std::string> name = toUtf8(path);
    const std::optional<std::string> narrowMode = toUtf8(mode);
    return name && narrowMode ? openFile(*name, narrowMode->c_str()) : nullptr;
}

std::optional<NativePath> nativePath(const std::wstring& path) {
    const std::optional<std::string> utf8 = toUtf8(path);
    return utf8 ? nativePath(*utf8) : std::nullopt;
}

bool seekTo(std::FILE* stream, std::uint64_t position) {
    static_assert(sizeof(off_t) == 8, "files above 2 GiB need a 64-bit seek");
    if (position > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) {
        return false;
    }
    return fseeko(stream, static_cast<off_t>(position), SEEK_SET) == 0;
}

std::string narrowString(const std::wstring& wide) {
    std::string narrow;
    for (std::size_t index = 0; index < wide.size();) {
        const char32_t codePoint = nextCodePoint(wide, index);
        appendUtf8(narrow, isScalarValue(codePoint) ? codePoint : U'?');
    }
    return narrow;
}

std::string localDate() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    std::array<char, 120> buffer{};
    tzset(); // localtime_r need not read the time zone again
    if (localtime_r(&now, &local) == nullptr) {
        return {};
    }
    const std::size_t length =
        std::strftime(buffer.data(), buffer.size(), "%a %b %d %H:%M:%S %Y %Z", &local);
    return std::string(buffer.data(), length);
}

std::string computerName() {
    std::array<char, hostNameSize> buffer{};
    if (gethostname(buffer.data(), buffer.size()) != 0) {
        return {};
    }
    const std::string name(buffer.data(), buffer.size());
    const std::size_t length = name.find('\0'); // none if the name was cut
    return length != std::string::npos ? name.substr(0, length) : std::string();
}

std::string userName() {
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384); // for the whole record, not the name alone
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr) {
        return {};
    }
    const std::string name = found->pw_name;
    return name.size() < hostNameSize ? name : std::string();
}

} // namespace Tyr::Platform
