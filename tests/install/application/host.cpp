// An application that is not linked to the library and loads a module that is.
#include "application.hpp"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <iostream>

namespace {

using RunApplication = decltype(&runApplication);

/// Null if the module or one of its libraries is missing.
RunApplication load(const char* file) {
#if defined(_WIN32)
    const HMODULE module = LoadLibraryA(file);
    return module == nullptr ? nullptr
                             : reinterpret_cast<RunApplication>(reinterpret_cast<void*>(
                                   GetProcAddress(module, "runApplication")));
#else
    void* const module = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    return module == nullptr ? nullptr
                             : reinterpret_cast<RunApplication>(dlsym(module, "runApplication"));
#endif
}

} // namespace

int main(int argc, char** argv) {
    const RunApplication run = argc == 3 ? load(argv[1]) : nullptr;
    if (run == nullptr) {
        std::cerr << "host: " << (argc == 3 ? "cannot load" : "usage: host MODULE FOLDER") << '\n';
        return 2;
    }
    return run(argv[2]);
}
