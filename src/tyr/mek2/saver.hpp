/// @file
/// Starts a write cycle.
#pragma once

#include <tyr/mek2/saveroptions.hpp>

#include "tyr/base/command.hpp"
#include "tyr/mek2/database.hpp"

namespace Tyr::Mek2 {

/// The command of `Model::saveTo`.
class Saver : public Base::Saver<Database, SaverOptions> {
public:
    using Base::Saver<Database, SaverOptions>::Saver;

    /// Creates the tree and, if there is a path, opens its file. If the file cannot be opened, the
    /// tree stays.
    /// @throws InvalidObjectState "Not Empty"
    void save(Database& database) override;

private:
    void openSafely(Database& database);
};

} // namespace Tyr::Mek2
