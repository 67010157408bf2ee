/// @file
/// The failure classes: everything that the library itself raises.
///
/// A failure reaches the application as a thrown object that can be caught as its own class, as
/// `Tyr::Exception::Exception`, `Tyr::Exception::Base`, `std::exception` or `boost::exception`,
/// and kept with `boost::current_exception`. The place where it was raised (function signature,
/// source file, line) is read with `boost::get_error_info<boost::throw_function>` and its
/// siblings `boost::throw_file` and `boost::throw_line`.
#pragma once

#include <tyr/export.hpp>

#include <boost/exception/exception.hpp>

#include <exception>
#include <string>

namespace Tyr::Exception {

/// Root of the failure classes: what a handler can ask without knowing the class.
class MEKAPI2_API Base {
public:
    /// Failures can be copied and kept.
    /// @{
    Base() = default;
    Base(const Base&) = default;
    Base& operator=(const Base&) = default;
    /// @}
    virtual ~Base();

    /// The text of the failure, zero-terminated and owned by the failure; null in `Base` itself.
    virtual const char* message() const noexcept;

    /// The number of the failure class; 1 in `Base` itself.
    virtual int code() const noexcept;
};

/// Common part of all concrete failures: a message, or else the default text of the class.
class MEKAPI2_API Exception : public virtual Base,
                              public virtual std::exception,
                              public virtual boost::exception {
public:
    /// A failure with the default text of its class.
    Exception() = default;

    /// @param message zero-terminated text, copied; an empty text counts as no message
    explicit Exception(const char* message);

    /// Copies the message and the place of the raise.
    /// @{
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    /// @}
    ~Exception() override;

    /// The fixed text of the class, given when no message was passed.
    virtual const char* defaultMessage() const noexcept;

    /// The message, or else the default text; valid as long as the failure is not changed.
    /// @{
    const char* message() const noexcept override;
    const char* what() const noexcept override;
    /// @}

private:
    std::string message_;
};

/// A failure that no other class describes; the message tells it. Code 2.
class MEKAPI2_API MiscelleneousException : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// An argument that the operation cannot take. Code 3.
class MEKAPI2_API InvalidArguments : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A file that may not be opened, above all one that exists already. Code 5.
class MEKAPI2_API FileOpenException : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// The system refused bytes or a position in the file. Code 7.
class MEKAPI2_API FileWriteException : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A number outside the range that exists, such as an unknown node id. Code 11.
class MEKAPI2_API OutOfBounds : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A size above what a field of the file can hold. Code 12.
class MEKAPI2_API OverflowError : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A size below zero. Code 13.
class MEKAPI2_API UnderflowError : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A look-up that found nothing. Code 14.
class MEKAPI2_API KeyNotFound : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// Memory for a block could not be had. Code 16.
class MEKAPI2_API MemoryAllocationException : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// The operation does not fit the state of the object, such as no file being open. Code 17.
class MEKAPI2_API InvalidObjectState : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A value of a kind that the target does not take. Code 19.
class MEKAPI2_API TemplateSpecializationNotDefined : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A place that is reserved for later. Code 20.
class MEKAPI2_API NotYetImplemented : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

} // namespace Tyr::Exception
