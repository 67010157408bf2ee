/// @file
/// Log classes: a log record with its origin, and the log system that receives it.
///
/// The library composes a few records for each block and dataset. Its log system discards them, so
/// that the library prints nothing. An application can use the classes for its own records:
///
/// @code
/// #include <tyr/log/log.hpp>
///
/// int main() {
///     Tyr::Log::Record<char> record(__FILE__, "main", __LINE__);
///     record << "solved in " << 12 << " iterations";
///     Tyr::Log::LogSystem system;
///     system += record; // discarded
///     return record.str() == "solved in 12 iterations" ? 0 : 1;
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>

#include <cstdint>
#include <locale>
#include <ostream>
#include <sstream>

namespace Tyr::Log {

namespace Severity {
/// Severity of a record. Every record of the library has the value 1.
enum Severity : int { Information = 1 };
} // namespace Severity

/// Where and when a record was made. The strings are not copied and must outlive the object.
struct MEKAPI2_API Origin {
    /// Sets `time` from the system clock. The strings are zero-terminated.
    Origin(const char* file, const char* function, std::uint32_t line);

    /// Copies all four fields.
    /// @{
    Origin(const Origin&) = default;
    Origin& operator=(const Origin& other);
    Origin& operator=(Origin&& other) noexcept;
    /// @}

    const char* file;     ///< path of the source file
    const char* function; ///< qualified name of the logging function
    std::uint32_t line;   ///< line in the source file
    std::int64_t time;    ///< seconds since 1970
};

/// One log record, composed with the stream operators. Numbers are always formatted with the
/// classic locale.
template <class Char>
struct Record : public std::basic_ostringstream<Char> {
    /// An empty record. The arguments are those of `Origin`.
    Record(const char* file, const char* function, std::uint32_t line)
        : severity(Severity::Information), origin(file, function, line) {
        if (this->getloc() != std::locale::classic()) { // imbuing costs as much as constructing
            this->imbue(std::locale::classic());
        }
    }

    Severity::Severity severity; ///< `Information`
    Origin origin;               ///< where and when the record was made
};

/// Receives log records. It has no state; several threads may use one object at the same time.
struct MEKAPI2_API LogSystem {
    /// Construction and copies; there is no state.
    /// @{
    LogSystem();
    LogSystem(const LogSystem& other);
    LogSystem& operator=(const LogSystem& other);
    /// @}
    virtual ~LogSystem();

    /// Discards the record.
    virtual void operator+=(const Record<char>& record);

    /// Prints the string of the stream and a line feed to `std::cout`.
    /// @param stream a `std::ostringstream` or a class derived from it
    /// @throws std::bad_cast another kind of stream, which has no string
    virtual void operator+=(const std::basic_ostream<char>& stream);
};

/// A base class for loggers of an application. The library does not use it.
class MEKAPI2_API LoggerBase {
public:
    LoggerBase();
    virtual ~LoggerBase();

    /// Does nothing.
    /// @return the object itself
    virtual LoggerBase& logRecord(const char* const file, const char* const function,
                                  unsigned long line, Severity::Severity severity);

    /// Does nothing.
    virtual void operator+=(const std::basic_ostream<char>& stream);

private:
    LoggerBase(const LoggerBase& other);
    LoggerBase& operator=(const LoggerBase& other);
};

} // namespace Tyr::Log
