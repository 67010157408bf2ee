/// @file
/// Throwing an exception with its location. The library throws in no other way.
#pragma once

#include <tyr/exception/exception.hpp>

#include <boost/current_function.hpp>
#include <boost/exception/info.hpp>

namespace Tyr::Exception {

/// The part of a source path from "tyr/" on. It does not depend on the folder of the build.
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

/// Throws `error` as a `clone_impl`, so that `boost::current_exception` can store it.
template <class Error>
[[noreturn]] void raiseAt(Error error, const char* function, const char* file, int line) {
    error << boost::throw_function(function) << boost::throw_file(file) << boost::throw_line(line);
    throw boost::enable_current_exception(error);
}

} // namespace Tyr::Exception

/// Path of this source file, such as "tyr/qbf/index.cpp".
#define TYR_SOURCE_FILE ::Tyr::Exception::relativeSourcePath(__FILE__)

/// Throws `error` with the function signature, source file and line of the call.
#define TYR_RAISE(error) \
    ::Tyr::Exception::raiseAt((error), BOOST_CURRENT_FUNCTION, TYR_SOURCE_FILE, __LINE__)
