/// @file
/// The journal of a write cycle: what is needed to make its model again from an unfinished file.
#pragma once

#include "tyr/mek2/journal/calls.hpp"

#include <cstddef>
#include <cstdint>

namespace Tyr::Mek2::Journal {

/// Records calls around the commands that carry them out.
///
/// The record of a call is composed before the call and appended after it, in memory that is
/// reserved before, so a call that succeeds is always recorded. Records are written in pieces of
/// some 64 KiB; a write that fails there is repeated with the next piece, and `write` reports it.
///
/// A call that fails may have changed the model. Then the parts that it changed are recorded. If
/// there is no memory for that, the journal ends there, and `write` raises.
class Writer {
public:
    /// Creates the file and appends the first record.
    /// @throws FileOpenException
    Writer(const Platform::NativePath& path, const Identity& identity, const Start& start);

    /// Makes a call and records it.
    template <class Command>
    void run(Database& database, Command& command) {
        begin(database, command);
        try {
            command.update(database);
        } catch (...) {
            fail(database, command);
            throw;
        }
        complete(database, command);
    }

    /// Records a block. For `TyrQbf::Index::SetObserver`.
    void recordBlock(const TyrQbf::StoredBlock& block, std::uint32_t crc) noexcept;

    /// Writes all records to the system.
    /// @throws FileWriteException
    /// @throws InvalidObjectState a call could not be recorded for lack of memory
    void write();

    /// Waits until the device has the records.
    /// @throws FileWriteException
    void synchronize() { file_.synchronize(); }

private:
    template <class Command>
    void begin(Database& database, const Command& command) {
        beginCall(*database.tree);
        kind_ = encodeCall(call_, command);
        reserveForCall();
    }

    template <class Command>
    void complete(Database& database, const Command& command) noexcept {
        completeCall(command);
        appendCall(database.tree->nextId);
    }

    // What differs between commands: which part of a failed call remains.

    template <class Command>
    void completeCall(const Command&) noexcept {}

    template <class Property, class Ids, class Steps>
    void completeCall(const Adder::ArrayProperty<Property, Ids, Steps>& command) noexcept {
        completeArray(call_, command.datasetOffset, command.attached);
        isWorthRecording_ = command.attached != 0;
    }

    void fail(Database&, const Adder::Node&) noexcept {} // has changed nothing
    void fail(const Database& database, const Modifier::NodeData&) noexcept;
    template <class Property, class Ids, class Steps>
    void fail(Database& database,
              const Adder::ArrayProperty<Property, Ids, Steps>& command) noexcept {
        complete(database, command);
    }
    template <class Container, class Array>
    void fail(Database& database, const Adder::Components<Container, Array>& command) noexcept {
        recordStates(*database.tree, command.result.data(),
                     static_cast<std::size_t>(command.result.size()));
    }

    void beginCall(const TyrMek::Tree& tree);
    void reserveForCall();
    void appendCall(unsigned int nextId) noexcept;
    void recordStates(const TyrMek::Tree& tree, const unsigned int* reached,
                      std::size_t count) noexcept;
    void appendOldState(const TyrMek::Tree& tree, unsigned int id);
    void appendState(const TyrMek::Tree& tree, unsigned int id, unsigned int nextIdAfter);
    void writeIfLarge() noexcept;

    RecordFile file_;
    Encoder call_; ///< the record of the call that is being made
    RecordKind kind_{};
    bool isWorthRecording_ = true;
    bool hadRoot_ = false;        ///< before the call
    unsigned int firstNewId_ = 0; ///< the next id before the call
    bool isIncomplete_ = false;   ///< something could not be recorded
};

} // namespace Tyr::Mek2::Journal
