/// @file
/// Log classes: a log line that knows where it was made, and the log system that takes it.
///
/// The library builds one record per buffer and per dataset and hands it to its log system, which
/// drops it: a saving run prints nothing. An application can use the classes for lines of its own.
#pragma once

#include <tyr/export.hpp>

#include <cstdint>
#include <locale>
#include <ostream>
#include <sstream>

namespace Tyr::Log {

namespace Severity {
/// How much a line matters. Every line of the library has the value 1.
enum Severity { Information = 1 };
} // namespace Severity

/// Where and when a line was made. The two texts are not owned and must outlive the object.
struct MEKAPI2_API Origin {
    /// Also reads the clock.
    Origin(const char* file, const char* function, std::uint32_t line);

    /// Copies all four fields.
    /// @{
    Origin(const Origin&) = default;
    Origin& operator=(const Origin& other);
    Origin& operator=(Origin&& other) noexcept;
    /// @}

    const char* file;     ///< path of the source file
    const char* function; ///< qualified name of the logging function
    std::uint32_t line;   ///< in the source file
    std::int64_t time;    ///< seconds since 1970
};

/// One log line, composed with the ordinary stream operators. Its numbers do not depend on the
/// locale of the process.
template <class Char>
struct Record : public std::basic_ostringstream<Char> {
    /// An empty line. The texts are those of its `Origin`.
    Record(const char* file, const char* function, std::uint32_t line)
        : severity(Severity::Information), origin(file, function, line) {
        if (this->getloc() != std::locale::classic()) { // to imbue costs as much as to construct
            this->imbue(std::locale::classic());
        }
    }

    Severity::Severity severity; ///< `Information`
    Origin origin;               ///< where and when the record was made
};

/// Takes log lines. It has no state; any number of threads may use one object.
struct MEKAPI2_API LogSystem {
    /// There is no state to copy.
    /// @{
    LogSystem();
    LogSystem(const LogSystem& other);
    LogSystem& operator=(const LogSystem& other);
    /// @}
    virtual ~LogSystem();

    /// Drops the record.
    virtual void operator+=(const Record<char>& record);

    /// Prints the stream's text and a line feed to `std::cout`.
    /// @param stream a `std::ostringstream` (or derived); a stream of another kind has no text to
    ///     fetch, and `std::bad_cast` is raised
    virtual void operator+=(const std::basic_ostream<char>& stream);
};

/// A base for loggers of an application. The library calls none of its operations.
class MEKAPI2_API LoggerBase {
public:
    LoggerBase();
    virtual ~LoggerBase();

    /// Does nothing. @return the object itself
    virtual LoggerBase& logRecord(const char* const file, const char* const function,
                                  unsigned long line, Severity::Severity severity);

    /// Does nothing.
    virtual void operator+=(const std::basic_ostream<char>& stream);

private:
    LoggerBase(const LoggerBase& other);
    LoggerBase& operator=(const LoggerBase& other);
};

} // namespace Tyr::Log
