#include <tyr/exception/exception.hpp>

namespace Tyr::Exception {

Base::~Base() = default;

const char* Base::message() const noexcept { return nullptr; }
int Base::code() const noexcept { return 1; }

Exception::Exception(const char* message) : message_(message) {}
Exception::~Exception() = default;

const char* Exception::defaultMessage() const noexcept { return "Unknown Exception"; }

const char* Exception::message() const noexcept {
    return message_.empty() ? defaultMessage() : message_.c_str();
}

const char* Exception::what() const noexcept { return message(); }

const char* MiscelleneousException::defaultMessage() const noexcept {
    return "Miscelleneous exception";
}
int MiscelleneousException::code() const noexcept { return 2; }

const char* InvalidArguments::defaultMessage() const noexcept { return "Invalid arguments"; }
int InvalidArguments::code() const noexcept { return 3; }

const char* FileOpenException::defaultMessage() const noexcept { return "File open exception"; }
int FileOpenException::code() const noexcept { return 5; }

const char* FileWriteException::defaultMessage() const noexcept { return "File write exception"; }
int FileWriteException::code() const noexcept { return 7; }

const char* OutOfBounds::defaultMessage() const noexcept { return "Out of bounds error"; }
int OutOfBounds::code() const noexcept { return 11; }

const char* OverflowError::defaultMessage() const noexcept { return "Overflow error"; }
int OverflowError::code() const noexcept { return 12; }

const char* UnderflowError::defaultMessage() const noexcept { return "Underflow error"; }
int UnderflowError::code() const noexcept { return 13; }

const char* KeyNotFound::defaultMessage() const noexcept { return "Key not found"; }
int KeyNotFound::code() const noexcept { return 14; }

const char* MemoryAllocationException::defaultMessage() const noexcept {
    return "Memory allocation error";
}
int MemoryAllocationException::code() const noexcept { return 16; }

const char* InvalidObjectState::defaultMessage() const noexcept { return "Invalid object state"; }
int InvalidObjectState::code() const noexcept { return 17; }

const char* TemplateSpecializationNotDefined::defaultMessage() const noexcept {
    return "Template specialization not defined";
}
int TemplateSpecializationNotDefined::code() const noexcept { return 19; }

const char* NotYetImplemented::defaultMessage() const noexcept { return "Not yet implemented"; }
int NotYetImplemented::code() const noexcept { return 20; }

} // namespace Tyr::Exception
