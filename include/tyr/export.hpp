/// @file
/// Macros that mark what the shared library exports. Applications do not use these macros.
///
/// On Windows, define MEKAPI2_STATIC to link the static library instead of the DLL.
#pragma once

// Every public header with declarations includes this one first. With the Microsoft compiler,
// __cplusplus is 199711 unless an option changes it; _MSVC_LANG is the language version.
#if defined(_MSVC_LANG)
#if _MSVC_LANG < 201703L
#error MekApi2 needs C++17
#endif
#elif __cplusplus < 201703L
#error MekApi2 needs C++17
#endif

/// @def MEKAPI2_API
/// Marks a class or function that an application links to.

/// @def MEKAPI2_TEMPLATE_API
/// Marks a declared instantiation of a class template.

/// @def MEKAPI2_TEMPLATE_DEFINITION_API
/// Marks a defined instantiation of a class template.

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

// For explicit instantiations of class templates, most compilers expect the mark at the
// declaration, the Microsoft compiler at the definition.
#if defined(_MSC_VER) && defined(MEKAPI2_BUILDING)
#define MEKAPI2_TEMPLATE_API
#define MEKAPI2_TEMPLATE_DEFINITION_API MEKAPI2_API
#else
#define MEKAPI2_TEMPLATE_API MEKAPI2_API
#define MEKAPI2_TEMPLATE_DEFINITION_API
#endif
