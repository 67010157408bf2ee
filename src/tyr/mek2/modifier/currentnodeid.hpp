/// @file
/// Moves the cursor.
#pragma once

#include "tyr/base/command.hpp"
#include "tyr/mek2/database.hpp"

namespace Tyr::Mek2::Modifier {

/// Moves the cursor to `id`.
class CurrentNodeId : public Base::Modifier<Database> {
public:
    explicit CurrentNodeId(unsigned int nodeId);
    void update(Database& database) override;

    unsigned int id;
};

/// Moves the cursor one level up.
class UpMover : public Base::Modifier<Database> {
public:
    void update(Database& database) override;
};

} // namespace Tyr::Mek2::Modifier
