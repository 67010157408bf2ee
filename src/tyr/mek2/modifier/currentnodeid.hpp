/// @file
/// Changes the current node.
#pragma once

#include "tyr/base/command.hpp"
#include "tyr/mek2/database.hpp"

namespace Tyr::Mek2::Modifier {

/// The command of `Model::setCurrentNodeId`.
class CurrentNodeId : public Base::Modifier<Database> {
public:
    explicit CurrentNodeId(unsigned int nodeId);
    void update(Database& database) override;

    unsigned int id;
};

/// The command of `Model::moveToParentNode`.
class UpMover : public Base::Modifier<Database> {
public:
    void update(Database& database) override;
};

} // namespace Tyr::Mek2::Modifier
