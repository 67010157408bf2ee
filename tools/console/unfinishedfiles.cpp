#include "console/unfinishedfiles.hpp"

#include <array>
#include <utility>

#if defined(_WIN32)
#include <io.h>
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <mutex>
#else
#include <unistd.h>

#include <csignal>
#endif

namespace Console {

UnfinishedFile* UnfinishedFile::newest = nullptr;

void UnfinishedFile::removeAll() {
    for (const UnfinishedFile* file = newest; file != nullptr; file = file->older_) {
#if defined(_WIN32)
        if (DeleteFileW(file->path_.c_str()) == 0) {
            RemoveDirectoryW(file->path_.c_str());
        }
#else
        if (unlink(file->path_.c_str()) != 0) {
            rmdir(file->path_.c_str());
        }
#endif
    }
}

#if defined(_WIN32)

namespace {

/// The console runs its handler in a separate thread.
std::recursive_mutex& mutex() {
    static std::recursive_mutex instance;
    return instance;
}

/// Windows removes no file that is open. Other threads may still use these handles; their calls
/// fail, and the process ends.
void closeAllFiles() {
    constexpr int firstFile = 3; // after the standard streams
    constexpr int lastFile = 64;
    for (int file = firstFile; file <= lastFile; ++file) {
        const std::intptr_t handle = _get_osfhandle(file);
        if (handle != -1) {
            CloseHandle(reinterpret_cast<HANDLE>(handle));
        }
    }
}

BOOL WINAPI handleConsole(DWORD) {
    const std::lock_guard<std::recursive_mutex> lock(mutex());
    closeAllFiles();
    UnfinishedFile::removeAll();
    ExitProcess(static_cast<UINT>(STATUS_CONTROL_C_EXIT));
}

} // namespace

void removeUnfinishedFilesOnSignals() { SetConsoleCtrlHandler(handleConsole, TRUE); }

void holdingSignals(const std::function<void()>& action) {
    const std::lock_guard<std::recursive_mutex> lock(mutex());
    action();
}

#else

namespace {

constexpr std::array<int, 6> endingSignals{SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGXCPU, SIGXFSZ};

sigset_t endingSignalSet() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : endingSignals) {
        sigaddset(&set, number);
    }
    return set;
}

extern "C" void removeAllAndDie(int number) {
    UnfinishedFile::removeAll();
    std::signal(number, SIG_DFL);
    std::raise(number); // takes effect when this handler returns
}

} // namespace

void removeUnfinishedFilesOnSignals() {
    for (const int number : endingSignals) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
            action.sa_handler = removeAllAndDie;
            action.sa_mask = endingSignalSet();
            sigaction(number, &action, nullptr);
        }
    }
}

void holdingSignals(const std::function<void()>& action) {
    class Mask {
    public:
        Mask() {
            const sigset_t set = endingSignalSet();
            sigprocmask(SIG_BLOCK, &set, &previous_);
        }
        Mask(const Mask&) = delete;
        Mask& operator=(const Mask&) = delete;
        ~Mask() { sigprocmask(SIG_SETMASK, &previous_, nullptr); }

    private:
        sigset_t previous_{};
    };
    const Mask mask;
    action();
}

#endif

UnfinishedFile::UnfinishedFile(std::filesystem::path path) : path_(std::move(path)) {
    holdingSignals([this] {
        older_ = newest;
        if (older_ != nullptr) {
            older_->newer_ = this;
        }
        newest = this;
    });
}

UnfinishedFile::~UnfinishedFile() {
    holdingSignals([this] {
        (newer_ != nullptr ? newer_->older_ : newest) = older_;
        if (older_ != nullptr) {
            older_->newer_ = newer_;
        }
    });
}

} // namespace Console
