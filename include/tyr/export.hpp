/// @file
/// The one macro that marks what the shared library exports, and its two forms for templates.
///
/// On Windows, define MEKAPI2_STATIC to link the object files themselves instead of the DLL.
#pragma once

/// @def MEKAPI2_API
/// Stands in front of every class and function that an application links to.

/// @def MEKAPI2_TEMPLATE_API
/// The same for a declared instantiation of a class template.

/// @def MEKAPI2_TEMPLATE_DEFINITION_API
/// The same for a defined instantiation of a class template.

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

// Explicit instantiations of class templates: most compilers take the mark where they are declared,
// the Microsoft compiler exports only what is marked where it is defined.
#if defined(_MSC_VER) && defined(MEKAPI2_BUILDING)
#define MEKAPI2_TEMPLATE_API
#define MEKAPI2_TEMPLATE_DEFINITION_API MEKAPI2_API
#else
#define MEKAPI2_TEMPLATE_API MEKAPI2_API
#define MEKAPI2_TEMPLATE_DEFINITION_API
#endif
