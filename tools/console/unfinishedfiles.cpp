#include "console/unfinishedfiles.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>

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

namespace {

using Character = std::filesystem::path::value_type;

constexpr std::ptrdiff_t slotCount = 16;
constexpr std::size_t maximalLength = 4096;

/// A signal handler reads it: no allocation, no lock.
struct Slot {
    std::atomic<bool> isUsed{false};
    std::array<Character, maximalLength> path{};
};
static_assert(std::atomic<bool>::is_always_lock_free);

std::array<Slot, slotCount> slots;

void removeAll() {
    for (const Slot& slot : slots) {
        if (slot.isUsed.load(std::memory_order_acquire)) {
#if defined(_WIN32)
            DeleteFileW(slot.path.data());
#else
            unlink(slot.path.data());
#endif
        }
    }
}

} // namespace

#if defined(_WIN32)

namespace {

/// The console runs its handler in a thread of its own.
std::mutex& mutex() {
    static std::mutex instance;
    return instance;
}

/// Windows removes no file that is open. Other threads may still use these handles; their calls
/// fail, and the process ends.
void closeAllFiles() {
    constexpr int firstFile = 3; // behind the standard streams
    constexpr int lastFile = 64;
    for (int file = firstFile; file <= lastFile; ++file) {
        const std::intptr_t handle = _get_osfhandle(file);
        if (handle != -1) {
            CloseHandle(reinterpret_cast<HANDLE>(handle));
        }
    }
}

BOOL WINAPI handleConsole(DWORD) {
    const std::lock_guard<std::mutex> lock(mutex());
    closeAllFiles();
    removeAll();
    ExitProcess(static_cast<UINT>(STATUS_CONTROL_C_EXIT));
}

} // namespace

void removeUnfinishedFilesOnSignals() { SetConsoleCtrlHandler(handleConsole, TRUE); }

void holdingSignals(const std::function<void()>& action) {
    const std::lock_guard<std::mutex> lock(mutex());
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
    removeAll();
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

UnfinishedFile::UnfinishedFile(const std::filesystem::path& path) : slot_(slotCount) {
    const auto& name = path.native();
    if (name.size() >= maximalLength) {
        return;
    }
    for (Slot& slot : slots) {
        if (!slot.isUsed.load()) {
            *std::copy(name.begin(), name.end(), slot.path.begin()) = Character();
            slot.isUsed.store(true, std::memory_order_release);
            slot_ = &slot - slots.data();
            return;
        }
    }
}

UnfinishedFile::~UnfinishedFile() {
    if (slot_ < slotCount) {
        slots[static_cast<std::size_t>(slot_)].isUsed.store(false, std::memory_order_release);
    }
}

} // namespace Console
