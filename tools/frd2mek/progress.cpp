#include "progress.hpp"

#include <algorithm>
#include <cstdio>
#include <iostream>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace Frd {

namespace {

bool isErrorStreamTerminal() {
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

} // namespace

Progress::Progress(std::uint64_t total)
    : total_(std::max<std::uint64_t>(total, 1)),
      isTerminal_(isErrorStreamTerminal()),
      start_(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    if (isShown_) {
        std::cerr << "\r\033[K" << std::flush;
    }
}

void Progress::show(const char* phase, std::uint64_t done) {
    if (!isTerminal_ || std::chrono::steady_clock::now() - start_ < std::chrono::seconds(1)) {
        return;
    }
    const std::uint64_t percent = std::min<std::uint64_t>(100, done * 100 / total_);
    if (isShown_ && percent == percent_) {
        return;
    }
    std::cerr << "\r\033[Kfrd2mek: " << phase << ", " << percent << " %" << std::flush;
    percent_ = percent;
    isShown_ = true;
}

} // namespace Frd
