#include "console/outputfile.hpp"

#include "console/error.hpp"

#include <cerrno>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <system_error>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace Console {

namespace {

constexpr int attempts = 100;

/// Creates an empty file, unless there is one. With `isPrivate` only its owner may read it.
/// @return 0 or the error number
int createExclusively(const std::filesystem::path& path, [[maybe_unused]] bool isPrivate) {
#if defined(_WIN32)
    const int file =
        _wopen(path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
    return file < 0 ? errno : (_close(file), 0);
#else
    constexpr mode_t ownerOnly = 0600;
    constexpr mode_t byUmask = 0666;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the system's interface
    const int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC,
                          isPrivate ? ownerOnly : byUmask);
    return file < 0 ? errno : (close(file), 0);
#endif
}

/// Renames `from`, unless `to` exists.
std::error_code renameExclusively(const std::filesystem::path& from,
                                  const std::filesystem::path& to) {
#if defined(_WIN32)
    if (MoveFileExW(from.c_str(), to.c_str(), 0) == 0) {
        return {static_cast<int>(GetLastError()), std::system_category()};
    }
    return {};
#else
    std::error_code error;
    std::filesystem::create_hard_link(from, to, error);
    if (!error) {
        std::filesystem::remove(from, error);
        return {};
    }
    if (error == std::errc::file_exists || std::filesystem::exists(to)) {
        return error;
    }
    std::filesystem::rename(from, to, error); // the file system has no hard links
    return error;
#endif
}

std::string randomSuffix() {
    constexpr int digits = 8;
    std::ostringstream suffix;
    suffix << '.' << std::hex << std::setfill('0') << std::setw(digits) << std::random_device()()
           << ".part";
    return suffix.str();
}

} // namespace

FileError existsError(const std::filesystem::path& target) {
    return {target, "exists; use --overwrite to replace it"};
}

void checkOutputPath(const std::filesystem::path& target, bool overwrite,
                     const std::filesystem::path& input) {
    if (target == "-") {
        throw FileError(target, "needs a regular file, not standard output");
    }
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(target, error);
    if (!std::filesystem::exists(status)) {
        return;
    }
    if (std::filesystem::is_directory(status)) {
        throw FileError(target, reasonOf(EISDIR));
    }
    if (!std::filesystem::is_regular_file(status)) {
        throw FileError(target, "needs a regular file");
    }
    if (std::filesystem::equivalent(target, input, error)) {
        throw FileError(target, "is the input itself");
    }
    if (!overwrite) {
        throw existsError(target);
    }
}

OutputFile::OutputFile(const std::filesystem::path& target, bool overwrite)
    : name_(target), target_(target), overwrite_(overwrite) {
    checkOutputPath(target, overwrite);
    if (std::filesystem::exists(target)) {
        target_ = std::filesystem::canonical(target);
        replacedPermissions_ = std::filesystem::status(target).permissions();
    }
    holdingSignals([this] { create(); });
}

OutputFile::~OutputFile() {
    if (!isFinished_) {
        std::error_code ignored;
        std::filesystem::remove(unfinishedPath_, ignored);
    }
}

void OutputFile::create() {
    int error = EEXIST;
    for (int attempt = 0; error == EEXIST && attempt < attempts; ++attempt) {
        unfinishedPath_ = target_;
        unfinishedPath_ += randomSuffix();
        error = createExclusively(unfinishedPath_, replacedPermissions_.has_value());
    }
    if (error != 0) {
        throw FileError(name_, reasonOf(error));
    }
    registration_.emplace(unfinishedPath_);
}

void OutputFile::finish() {
    std::error_code error;
    if (replacedPermissions_) {
        std::filesystem::permissions(unfinishedPath_, *replacedPermissions_, error);
    }
    if (overwrite_) {
        std::filesystem::rename(unfinishedPath_, target_, error);
    } else {
        error = renameExclusively(unfinishedPath_, target_);
    }
    if (error) {
        throw error == std::errc::file_exists ? existsError(name_)
                                              : FileError(name_, reasonOf(error));
    }
    isFinished_ = true;
    registration_.reset();
}

} // namespace Console
