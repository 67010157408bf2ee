/// @file
/// The state of a write cycle.
#pragma once

#include "tyr/base/database.hpp"
#include "tyr/mek/tree.hpp"
#include "tyr/qbf/unchangedenvironment.hpp"

#include <cstdint>
#include <memory>
#include <optional>

namespace Tyr::Mek2 {

class SafeOutput;

/// The tree and flags of the open write cycle. Without one there is no tree.
class Database : public Base::Database {
public:
    Database();

    /// Closes. Errors are discarded; the stream is closed and memory released in any case.
    ~Database() override;

    /// Saves the tree, closes the file, gives it its name and deletes the tree. After an error the
    /// tree stays; a second call deletes it without saving.
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

    /// Of this write cycle; none: that of the environment.
    std::optional<std::uint32_t> blockSize;

    /// Null unless the write cycle has a journal or a temporary file.
    std::unique_ptr<SafeOutput> output;

    /// Closes a write cycle whose `Model` is destroyed. A file that only `close` completes stays
    /// unfinished.
    void abandon();

private:
    void save();
};

/// While one exists, blocks get the size that the options of the write cycle ask for.
class BlockSizeScope {
public:
    explicit BlockSizeScope(const Database& database) {
        if (database.blockSize) {
            environment_.emplace(database.blockSize);
        }
    }

private:
    std::optional<TyrQbf::UnchangedEnvironment> environment_;
};

} // namespace Tyr::Mek2
