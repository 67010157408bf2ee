#include "console/arguments.hpp"

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// after windows.h, whose types it needs
#include <shellapi.h>

#include <new>
#endif

namespace Console {

#if defined(_WIN32)

namespace {

std::string toUtf8(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
    utf8.pop_back(); // the terminator
    return utf8;
}

} // namespace

std::vector<std::string> arguments(int, char**) {
    int count = 0;
    wchar_t** const texts = CommandLineToArgvW(GetCommandLineW(), &count);
    if (texts == nullptr) {
        throw std::bad_alloc();
    }
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        arguments.push_back(toUtf8(texts[i]));
    }
    LocalFree(texts);
    return arguments;
}

#else

std::vector<std::string> arguments(int argc, char** argv) {
    return std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc);
}

#endif

} // namespace Console
