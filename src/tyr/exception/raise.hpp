/// @file
/// Raising a failure with its location, the one way in which the library throws.
#pragma once

#include <tyr/exception/exception.hpp>

#include <boost/current_function.hpp>
#include <boost/exception/info.hpp>

namespace Tyr::Exception {

/// The part of a source path from "tyr/" on, so that a location reads the same wherever the
/// library was built.
constexpr const char* relativeSourcePath(const char* path) {
    const char* relative = path;
    for (const char* at = path; *at != '\0'; ++at) {
        const bool startsName = at == path || at[-1] == '/' || at[-1] == '\\';
        if (startsName && at[0] == 't' && at[1] == 'y' && at[2] == 'r' &&
            (at[3] == '/' || at[3] == '\\')) {
            relative = at;
        }
    }
    return relative;
}

/// Throws `failure` as a `clone_impl`, so that Boost's exception pointer can keep it.
template <class Failure>
[[noreturn]] void raiseAt(Failure failure, const char* function, const char* file, int line) {
    failure << boost::throw_function(function) << boost::throw_file(file)
            << boost::throw_line(line);
    throw boost::enable_current_exception(failure);
}

} // namespace Tyr::Exception

/// Path of this source file, such as "tyr/qbf/index.cpp".
#define TYR_SOURCE_FILE ::Tyr::Exception::relativeSourcePath(__FILE__)

/// Raises `failure` with the signature, source file and line of the place where this stands.
#define TYR_RAISE(failure) \
    ::Tyr::Exception::raiseAt((failure), BOOST_CURRENT_FUNCTION, TYR_SOURCE_FILE, __LINE__)
