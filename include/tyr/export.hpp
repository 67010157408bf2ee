/// @file
/// The one macro that marks what the shared library exports.
#pragma once

#if defined(_WIN32)
#if defined(MEKAPI2_STATIC)
#define MEKAPI2_API
#elif defined(MEKAPI2_BUILDING)
#define MEKAPI2_API __declspec(dllexport)
#else
#define MEKAPI2_API __declspec(dllimport)
#endif
#else
#define MEKAPI2_API __attribute__((visibility("default")))
#endif
