/// @file
/// Base class of the state that commands read and change.
#pragma once

namespace Tyr::Base {

class Database {
public:
    Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    virtual ~Database() = default;
    virtual void close() {}
};

} // namespace Tyr::Base
