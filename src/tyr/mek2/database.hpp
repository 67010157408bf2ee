/// @file
/// The state of a write cycle.
#pragma once

#include "tyr/base/database.hpp"
#include "tyr/mek/tree.hpp"

#include <cstdint>
#include <memory>

namespace Tyr::Mek2 {

/// Empty until a saver gives it a tree, and again after `close`.
class Database : public Base::Database {
public:
    /// Closes; a failure of that is swallowed once stream and memory are released.
    ~Database() override;

    /// Saves what is left, closes the file and drops the tree. After a failure the tree stays, and
    /// a further call drops it without saving again.
    void close() override;

    /// @throws InvalidObjectState "Not Empty"
    void assertEmpty() const;

    /// @throws InvalidObjectState "Not initialized"
    void assertNotEmpty() const;

    /// @throws InvalidObjectState "File not open.", "File not opened in write mode"
    void assertOpenedForWriting() const;

    std::shared_ptr<TyrMek::Tree> tree;
    bool openedForReading = false;
    bool openedForWriting = false;
    std::uint32_t openState = 1;
    bool relinkReplaced = false; ///< of this write cycle; see `SaverOptions`
};

} // namespace Tyr::Mek2
