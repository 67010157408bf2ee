#include "tyr/platform/files.hpp"
#include "tyr/platform/platform.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <system_error>

namespace Tyr::Platform {

namespace {

std::size_t nameStart(const NativePath& path) {
    const std::size_t separator = path.rfind('/');
    return separator == NativePath::npos ? 0 : separator + 1;
}

bool renameToNew(const NativePath& from, const NativePath& to) {
    if (link(from.c_str(), to.c_str()) == 0) {
        unlink(from.c_str()); // the file has its new name; a second one does no harm
        return true;
    }
    if (errno == EEXIST) {
        return false;
    }
    // the file system has no hard links
    if (fileExists(to)) {
        errno = EEXIST;
        return false;
    }
    return std::rename(from.c_str(), to.c_str()) == 0;
}

} // namespace

std::optional<NativePath> nativePath(const std::string& path) {
    return path.find('\0') == std::string::npos ? std::optional(path) : std::nullopt;
}

std::string displayPath(const NativePath& path) { return path; }

std::optional<NativePath> nativeName(const std::string& utf8) { return nativePath(utf8); }

NativePath withSuffix(const NativePath& path, const std::string& suffix) { return path + suffix; }

NativePath folderOf(const NativePath& path) { return path.substr(0, nameStart(path)); }

NativePath nameOf(const NativePath& path) { return path.substr(nameStart(path)); }

NativePath linkTarget(const NativePath& path) {
    constexpr int mostLinks = 40; // as in Linux
    const int reason = errno;     // as in `fileExists`
    NativePath target = path;
    for (int links = 0; links < mostLinks; ++links) {
        std::array<char, PATH_MAX> content{};
        const ssize_t length = readlink(target.c_str(), content.data(), content.size());
        if (length <= 0) {
            errno = reason;
            return target;
        }
        target = content.front() == '/' ? NativePath() : folderOf(target);
        target.append(content.data(), static_cast<std::size_t>(length));
    }
    return path;
}

bool fileExists(const NativePath& path) {
    const int reason = errno; // of an earlier call that failed; `lastErrorReason` reports it
    const bool exists = access(path.c_str(), F_OK) == 0;
    errno = reason;
    return exists;
}

bool isRegularFile(const NativePath& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::FILE* createFile(const NativePath& path, bool isPrivate) {
    constexpr mode_t ownerOnly = 0600;
    constexpr mode_t byUmask = 0666;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the call of the system
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                isPrivate ? ownerOnly : byUmask);
    if (descriptor < 0) {
        return nullptr;
    }
    std::FILE* const stream = fdopen(descriptor, "wb");
    if (stream == nullptr) {
        const int reason = errno;
        close(descriptor);
        unlink(path.c_str());
        errno = reason;
    }
    return stream;
}

std::FILE* createOrEmptyFile(const NativePath& path) { return std::fopen(path.c_str(), "wb"); }

std::FILE* openFileForReading(const NativePath& path) { return std::fopen(path.c_str(), "rb"); }

bool copyPermissions(const NativePath& from, const NativePath& to) {
    constexpr mode_t permissionBits = 0777;
    struct stat status {};
    return stat(from.c_str(), &status) == 0 &&
           chmod(to.c_str(), status.st_mode & permissionBits) == 0;
}

bool renameFile(const NativePath& from, const NativePath& to, bool replace) {
    return replace ? std::rename(from.c_str(), to.c_str()) == 0 : renameToNew(from, to);
}

bool removeFile(const NativePath& path) { return unlink(path.c_str()) == 0; }

std::uint64_t fileLength(std::FILE* stream) {
    struct stat status {};
    return fstat(fileno(stream), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool setFileLength(std::FILE* stream, std::uint64_t length) {
    return std::fflush(stream) == 0 && ftruncate(fileno(stream), static_cast<off_t>(length)) == 0;
}

bool synchronize(std::FILE* stream) {
    return std::fflush(stream) == 0 && fsync(fileno(stream)) == 0;
}

bool synchronizeFile(const NativePath& path) {
    std::FILE* const stream = openFileForReading(path); // its permissions may forbid writing
    const bool done = stream != nullptr && synchronize(stream);
    return stream != nullptr && std::fclose(stream) == 0 && done;
}

bool synchronizeFolderOf(const NativePath& path) {
    const NativePath folder = folderOf(path);
    const int descriptor = // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg)
        open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    // a file system that cannot do this reports EINVAL
    const bool done = fsync(descriptor) == 0 || errno == EINVAL;
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return done;
}

std::string lastErrorReason() { return std::generic_category().message(errno); }

std::array<unsigned char, 16> randomIdentity() {
    std::array<unsigned char, 16> bytes{};
    if (getentropy(bytes.data(), bytes.size()) != 0) {
        bytes = {};
    }
    return bytes;
}

} // namespace Tyr::Platform
