#include "failures.hpp"

#include <tyr/exception/exception.hpp>

#include <pybind11/pybind11.h>
#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>

#include <exception>
#include <optional>
#include <string>

namespace py = pybind11;

namespace MekPython {

namespace {

template <class Info>
py::object info(const Tyr::Exception::Exception& failure) {
    const auto* const value = boost::get_error_info<Info>(failure);
    return value != nullptr ? py::cast(*value) : py::none();
}

py::object toPython(const Tyr::Exception::Exception& failure) {
    return py::module_::import("mekapi2.errors")
        .attr("_from_failure")(failure.code(), failure.message(),
                               info<boost::throw_function>(failure),
                               info<boost::throw_file>(failure), info<boost::throw_line>(failure));
}

void translate(std::exception_ptr thrown) {
    try {
        std::rethrow_exception(thrown);
    } catch (const Tyr::Exception::Exception& failure) {
        const py::object error = toPython(failure);
        PyErr_SetObject(py::type::of(error).ptr(), error.ptr());
    }
}

} // namespace

void registerFailures() { py::register_exception_translator(translate); }

} // namespace MekPython
