#include "errors.hpp"

#include <tyr/exception/exception.hpp>

#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <utility>

namespace MekC {

namespace {

struct StatusNames {
    mek_status status;
    const char* name;
    const char* className;
};

constexpr StatusNames names[] = {
    {MEK_OK, "MEK_OK", ""},
    {MEK_ERROR, "MEK_ERROR", "Exception"},
    {MEK_MISCELLANEOUS, "MEK_MISCELLANEOUS", "MiscelleneousException"},
    {MEK_INVALID_ARGUMENTS, "MEK_INVALID_ARGUMENTS", "InvalidArguments"},
    {MEK_FILE_OPEN, "MEK_FILE_OPEN", "FileOpenException"},
    {MEK_FILE_WRITE, "MEK_FILE_WRITE", "FileWriteException"},
    {MEK_OUT_OF_BOUNDS, "MEK_OUT_OF_BOUNDS", "OutOfBounds"},
    {MEK_OVERFLOW, "MEK_OVERFLOW", "OverflowError"},
    {MEK_KEY_NOT_FOUND, "MEK_KEY_NOT_FOUND", "KeyNotFound"},
    {MEK_BLOCK_MEMORY, "MEK_BLOCK_MEMORY", "MemoryAllocationException"},
    {MEK_INVALID_STATE, "MEK_INVALID_STATE", "InvalidObjectState"},
    {MEK_WRONG_TYPE, "MEK_WRONG_TYPE", "TemplateSpecializationNotDefined"},
    {MEK_NOT_YET_IMPLEMENTED, "MEK_NOT_YET_IMPLEMENTED", "NotYetImplemented"},
    {MEK_MISUSE, "MEK_MISUSE", "Misuse"},
    {MEK_NO_MEMORY, "MEK_NO_MEMORY", "std::bad_alloc"},
    {MEK_VALUE_OUT_OF_RANGE, "MEK_VALUE_OUT_OF_RANGE", "ValueOutOfRange"},
    {MEK_CALLBACK_FAILED, "MEK_CALLBACK_FAILED", "CallbackFailed"},
};

/// @return null if there is no such status
const StatusNames* namesOf(int status) {
    const auto* const found =
        std::find_if(std::begin(names), std::end(names),
                     [status](const StatusNames& each) { return each.status == status; });
    return found != std::end(names) ? found : nullptr;
}

template <class Info>
auto infoOr(const Tyr::Exception::Exception& exception, typename Info::value_type other) {
    const auto* const value = boost::get_error_info<Info>(exception);
    return value != nullptr ? *value : other;
}

} // namespace

void refuse(mek_status status, std::string message) { throw Refusal{status, std::move(message)}; }

std::size_t wholeCharacters(const char* text, std::size_t limit) {
    const std::size_t length = std::strlen(text);
    if (length <= limit) {
        return length;
    }
    constexpr unsigned char markBits = 0xC0;
    constexpr unsigned char continuation = 0x80;
    while (limit > 0 && (static_cast<unsigned char>(text[limit]) & markBits) == continuation) {
        --limit;
    }
    return limit;
}

void refuseNull(const char* name) { refuse(MEK_MISUSE, std::string(name) + " is null"); }

void LastError::reset() noexcept {
    message_[0] = '\0';
    error_ = mek_error{sizeof error_, MEK_OK, 0, 0, "", message_.data(), "", ""};
}

void LastError::record(mek_status status, const char* className, const char* message) noexcept {
    error_.status = status;
    error_.class_name = className;
    const std::size_t length = wholeCharacters(message, message_.size() - 1);
    std::memcpy(message_.data(), message, length);
    message_[length] = '\0';
}

mek_status LastError::record(const std::exception_ptr& thrown, const char* call) noexcept {
    const int systemError = errno;
    error_.function = call;
    try {
        std::rethrow_exception(thrown);
    } catch (const Refusal& refusal) {
        record(refusal.status, namesOf(refusal.status)->className, refusal.message.c_str());
    } catch (const Tyr::Exception::Exception& exception) {
        const StatusNames* const known = namesOf(exception.code());
        record(known != nullptr ? known->status : MEK_ERROR,
               known != nullptr ? known->className : "Exception", exception.what());
        error_.function = infoOr<boost::throw_function>(exception, call);
        error_.file = infoOr<boost::throw_file>(exception, "");
        error_.line = infoOr<boost::throw_line>(exception, 0);
        const bool isOfFile = error_.status == MEK_MISCELLANEOUS ||
                              error_.status == MEK_FILE_OPEN || error_.status == MEK_FILE_WRITE;
        error_.system_error = isOfFile ? systemError : 0;
    } catch (const std::bad_alloc&) {
        record(MEK_NO_MEMORY, "std::bad_alloc", "there is no memory");
    } catch (const std::length_error& error) { // of a container that cannot be so large
        record(MEK_NO_MEMORY, "std::length_error", error.what());
    } catch (const std::exception& error) {
        record(MEK_ERROR, "std::exception", error.what());
    } catch (...) {
        record(MEK_ERROR, "unknown", "an exception of an unknown class");
    }
    return error_.status;
}

LastError& lastErrorOfThread() {
    thread_local LastError last;
    return last;
}

} // namespace MekC

const char* mek_status_name(mek_status status) {
    const MekC::StatusNames* const found = MekC::namesOf(status);
    return found != nullptr ? found->name : "unknown status";
}
