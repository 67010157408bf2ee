#include "console/progress.hpp"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <utility>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace Console {

namespace {

bool isErrorStreamTerminal() {
#if defined(_WIN32)
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) != 0;
#endif
}

} // namespace

Progress::Progress(std::string program, std::uint64_t total)
    : program_(std::move(program)),
      total_(std::max<std::uint64_t>(total, 1)),
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
    std::cerr << "\r\033[K" << program_ << ": " << phase << ", " << percent << " %" << std::flush;
    percent_ = percent;
    isShown_ = true;
}

} // namespace Console
