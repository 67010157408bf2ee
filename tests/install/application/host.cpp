// An application that knows nothing of the library and loads a module that does.
#include "application.hpp"

#include <dlfcn.h>

#include <iostream>

int main(int argc, char** argv) {
    void* const module = argc == 3 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : nullptr;
    void* const run = module != nullptr ? dlsym(module, "runApplication") : nullptr;
    if (run == nullptr) {
        std::cerr << "host: " << (argc == 3 ? dlerror() : "usage: host MODULE FOLDER") << '\n';
        return 2;
    }
    return reinterpret_cast<decltype(&runApplication)>(run)(argv[2]);
}
