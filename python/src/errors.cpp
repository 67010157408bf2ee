#include "errors.hpp"

#include <tyr/exception/exception.hpp>

#include <pybind11/pybind11.h>
#include <boost/exception/errinfo_errno.hpp>
#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>

#include <exception>
#include <optional>
#include <string>
#include <utility>

namespace py = pybind11;

namespace MekPython {

namespace {

template <class Info>
py::object info(const Tyr::Exception::Exception& exception) {
    const auto* const value = boost::get_error_info<Info>(exception);
    return value != nullptr ? py::cast(*value) : py::none();
}

py::object toPython(const Tyr::Exception::Exception& exception) {
    return py::module_::import("mekapi2.errors")
        .attr("_from_library")(
            exception.code(), exception.message(), info<boost::throw_function>(exception),
            info<boost::throw_file>(exception), info<boost::throw_line>(exception),
            info<boost::errinfo_errno>(exception));
}

void translate(std::exception_ptr thrown) {
    try {
        std::rethrow_exception(std::move(thrown));
    } catch (const Tyr::Exception::Exception& exception) {
        const py::object error = toPython(exception);
        PyErr_SetObject(py::type::of(error).ptr(), error.ptr());
    }
}

} // namespace

void registerErrors() { py::register_exception_translator(translate); }

} // namespace MekPython
