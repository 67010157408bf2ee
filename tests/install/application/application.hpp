// What the program and the module have in common.
#pragma once

/// Uses the library, with files in `folder`. @return an exit status; what is wrong goes to stderr
extern "C" __attribute__((visibility("default"))) int runApplication(const char* folder);
