#include "tyr/qbf/unchangedenvironment.hpp"

namespace TyrQbf {

namespace {

/// State of one thread. The other members have meaning while `scopes` is not 0.
struct Reading {
    unsigned scopes = 0;
    bool isRead = false;
    bool isReplaced = false;
    std::optional<std::uint32_t> value{};
};
thread_local Reading reading;

} // namespace

UnchangedEnvironment::UnchangedEnvironment() { ++reading.scopes; }

UnchangedEnvironment::UnchangedEnvironment(std::optional<std::uint32_t> value)
    : UnchangedEnvironment() {
    reading.isRead = true;
    reading.isReplaced = true;
    reading.value = value;
}

UnchangedEnvironment::~UnchangedEnvironment() {
    if (--reading.scopes == 0) {
        reading.isRead = false;
        reading.isReplaced = false;
    }
}

bool UnchangedEnvironment::IsReplaced() { return reading.isReplaced; }

std::optional<std::uint32_t> UnchangedEnvironment::Value(Reader read) {
    if (reading.scopes == 0) {
        return read();
    }
    if (!reading.isRead) {
        reading.value = read();
        reading.isRead = true;
    }
    return reading.value;
}

} // namespace TyrQbf
