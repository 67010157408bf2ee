/// @file
/// 100,000 arrays of 10 values, each for a step with two attributes, in each language.
#pragma once

#include <stddef.h>

enum { stepCount = 100000, valueCount = 10, nameLength = 16 };

/// The input, which is prepared before the measurement.
typedef struct Workload {
    const char* path;
    float values[valueCount];
    char (*names)[nameLength];        ///< of the steps, filled with zeros
    char (*fortranNames)[nameLength]; ///< the same, filled with blanks
} Workload;

#ifdef __cplusplus
extern "C" {
#endif

/// Writes the file.
/// @return 0, or another number if a call failed
/// @{
int writeWithC(const Workload* workload);
int writeWithFortran(const Workload* workload);
/// @}

#ifdef __cplusplus
}
#endif
