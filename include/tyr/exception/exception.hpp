/// @file
/// Exception classes of the library. It also throws exceptions of the standard library.
///
/// An exception can be caught as its own class, as `Tyr::Exception::Exception`,
/// `Tyr::Exception::Base`, `std::exception` or `boost::exception`, and stored with
/// `boost::current_exception`. It contains the function signature, source file and line of the
/// throwing code: read them with `boost::get_error_info` and `boost::throw_function`,
/// `boost::throw_file`, `boost::throw_line`.
///
/// @code
/// #include <tyr/exception/exception.hpp>
/// #include <tyr/mek2/model.hpp>
///
/// int main() {
///     try {
///         Tyr::Mek2::Model().moveToParentNode(); // before saveTo
///     } catch (const Tyr::Exception::InvalidObjectState& error) {
///         return error.code() == 17 && error.message() == std::string("Not initialized") ? 0 : 1;
///     }
///     return 1;
/// }
/// @endcode
///
/// Exceptions can be copied. Different objects may be used from different threads at the same time.
#pragma once

#include <tyr/export.hpp>

#include <boost/exception/exception.hpp>

#include <exception>
#include <string>

namespace Tyr::Exception {

/// Root of the exception classes: message and number.
class MEKAPI2_API Base {
public:
    /// Construction and copies.
    /// @{
    Base() = default;
    Base(const Base&) = default;
    Base& operator=(const Base&) = default;
    /// @}
    virtual ~Base();

    /// The message, zero-terminated and owned by the exception. Null in `Base` itself.
    virtual const char* message() const noexcept;

    /// The number of the class. 1 in `Base` itself.
    virtual int code() const noexcept;
};

/// Base of all concrete classes. It has a message, or the default message of its class. Code 1.
class MEKAPI2_API Exception : public virtual Base,
                              public virtual std::exception,
                              public virtual boost::exception {
public:
    /// No message: `what` returns the default message of the class.
    Exception() = default;

    /// @param message zero-terminated string, copied; an empty string is no message
    explicit Exception(const char* message);

    /// Copies the message and the location of the throwing code.
    /// @{
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    /// @}
    ~Exception() override;

    /// The default message of the class.
    virtual const char* defaultMessage() const noexcept;

    /// The message, or the default message if there is none. Valid until the exception is assigned
    /// to or destroyed.
    /// @{
    const char* message() const noexcept override;
    const char* what() const noexcept override;
    /// @}

private:
    std::string message_;
};

/// An error without a class for its kind; the message describes it. Code 2.
class MEKAPI2_API MiscelleneousException : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// An invalid argument. Code 3.
class MEKAPI2_API InvalidArguments : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// The file or its journal exists, the journal cannot be created, or an input of a recovery cannot
/// be opened. Code 5.
class MEKAPI2_API FileOpenException : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// The system could not write bytes or seek in the file. Code 7.
class MEKAPI2_API FileWriteException : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A number out of range, such as an unknown node id. Code 11.
class MEKAPI2_API OutOfBounds : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A size is too large for the file format. Code 12.
class MEKAPI2_API OverflowError : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A size is negative. Code 13.
class MEKAPI2_API UnderflowError : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A look-up found nothing. Code 14.
class MEKAPI2_API KeyNotFound : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// There is no memory for a block. Code 16.
class MEKAPI2_API MemoryAllocationException : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// The state of the object does not allow the operation, for example no file is open. Code 17.
class MEKAPI2_API InvalidObjectState : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// A value has a type that its target does not accept. Code 19.
class MEKAPI2_API TemplateSpecializationNotDefined : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

/// The operation does not support this yet. Code 20.
class MEKAPI2_API NotYetImplemented : public Exception {
public:
    using Exception::Exception;
    const char* defaultMessage() const noexcept override;
    int code() const noexcept override;
};

} // namespace Tyr::Exception
