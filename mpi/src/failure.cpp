#include "failure.hpp"

#include <tyr/mek2/mpi.hpp>

#include "tyr/exception/raise.hpp"

#include <cstring>
#include <exception>
#include <new>
#include <string>

namespace Tyr::Mek2 {

namespace {

template <class Error>
[[noreturn]] void raiseAs(const std::string& message, std::int32_t rank) {
    Error error(message.c_str());
    error << FailedRank(rank);
    TYR_RAISE(error);
}

} // namespace

Failure::Failure(std::int32_t errorCode, const char* text) noexcept : code(errorCode) {
    std::strncpy(message.data(), text, message.size() - 1);
}

Failure Failure::current() noexcept {
    try {
        throw;
    } catch (const Exception::Exception& error) {
        return {error.code(), error.what()};
    } catch (const std::bad_alloc&) {
        return {Exception::MemoryAllocationException().code(), "no memory"};
    } catch (const std::exception& error) {
        return {Exception::MiscelleneousException().code(), error.what()};
    } catch (...) {
        return {Exception::MiscelleneousException().code(), "unknown exception"};
    }
}

void Failure::raise(std::int32_t rank) const {
    const std::string text = "rank " + std::to_string(rank) + ": " + message.data();
    switch (code) {
        case 3:
            raiseAs<Exception::InvalidArguments>(text, rank);
        case 5:
            raiseAs<Exception::FileOpenException>(text, rank);
        case 7:
            raiseAs<Exception::FileWriteException>(text, rank);
        case 11:
            raiseAs<Exception::OutOfBounds>(text, rank);
        case 12:
            raiseAs<Exception::OverflowError>(text, rank);
        case 13:
            raiseAs<Exception::UnderflowError>(text, rank);
        case 14:
            raiseAs<Exception::KeyNotFound>(text, rank);
        case 16:
            raiseAs<Exception::MemoryAllocationException>(text, rank);
        case 17:
        case modelDestroyed:
            raiseAs<Exception::InvalidObjectState>(text, rank);
        case 19:
            raiseAs<Exception::TemplateSpecializationNotDefined>(text, rank);
        case 20:
            raiseAs<Exception::NotYetImplemented>(text, rank);
        default:
            raiseAs<Exception::MiscelleneousException>(text, rank);
    }
}

} // namespace Tyr::Mek2
