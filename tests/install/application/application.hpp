// The interface of the program and the module.
#pragma once

/// Uses the library and writes to `folder`. Errors are printed to stderr.
/// @return an exit status
extern "C" __attribute__((visibility("default"))) int runApplication(const char* folder);
