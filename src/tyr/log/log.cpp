#include <tyr/log/log.hpp>

#include "tyr/log/logsystem.hpp"

#include <ctime>
#include <iostream>

namespace Tyr::Log {

Origin::Origin(const char* originFile, const char* originFunction, std::uint32_t originLine)
    : file(originFile),
      function(originFunction),
      line(originLine),
      time(static_cast<std::int64_t>(std::time(nullptr))) {}

Origin& Origin::operator=(const Origin& other) = default;
Origin& Origin::operator=(Origin&& other) noexcept = default;

LogSystem::LogSystem() = default;
LogSystem::LogSystem(const LogSystem&) = default;
LogSystem& LogSystem::operator=(const LogSystem&) = default;
LogSystem::~LogSystem() = default;

void LogSystem::operator+=(const Record<char>&) {}

void LogSystem::operator+=(const std::basic_ostream<char>& stream) {
    std::cout << dynamic_cast<const std::ostringstream&>(stream).str() << '\n';
}

LoggerBase::LoggerBase() = default;
LoggerBase::LoggerBase(const LoggerBase&) = default;
LoggerBase& LoggerBase::operator=(const LoggerBase&) = default;
LoggerBase::~LoggerBase() = default;

LoggerBase& LoggerBase::logRecord(const char* const, const char* const, unsigned long,
                                  Severity::Severity) {
    return *this;
}

void LoggerBase::operator+=(const std::basic_ostream<char>&) {}

LogSystem& logSystem() {
    static LogSystem system;
    return system;
}

} // namespace Tyr::Log
