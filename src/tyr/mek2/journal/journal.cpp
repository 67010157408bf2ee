#include "tyr/mek2/journal/journal.hpp"

#include "tyr/exception/raise.hpp"

#include <algorithm>

namespace Tyr::Mek2::Journal {

namespace {

constexpr std::size_t writeSize = std::size_t{64} * 1024;
constexpr std::size_t blockRecordSize = 256;
constexpr std::size_t blocksPerCall = 4; // a call fills two blocks at most

} // namespace

Writer::Writer(const Platform::NativePath& path, const Identity& identity, const Start& start)
    : file_(path, identity) {
    try {
        Encoder encoder;
        encode(encoder, start);
        file_.append(static_cast<std::uint8_t>(RecordKind::Start), encoder.bytes);
    } catch (...) {
        Platform::removeFile(path);
        throw;
    }
}

void Writer::recordBlock(const TyrQbf::StoredBlock& block, std::uint32_t crc) noexcept {
    if (block.name != TyrMek::Tree::DatasetStream()) {
        return; // `close` writes the others, and makes them again from the calls
    }
    try {
        Encoder encoder;
        encode(encoder, Block{block, crc});
        file_.append(static_cast<std::uint8_t>(RecordKind::Block), encoder.bytes);
    } catch (...) {
        isIncomplete_ = true;
    }
}

void Writer::write() {
    if (isIncomplete_) {
        TYR_RAISE(Exception::InvalidObjectState("The journal is incomplete"));
    }
    file_.write();
}

void Writer::beginCall(const TyrMek::Tree& tree) {
    hadRoot_ = tree.GetReqNode(1).value != nullptr;
    firstNewId_ = tree.nextId;
    isWorthRecording_ = true;
    call_.bytes.clear();
    encode(call_, CallHead{tree.currentId, tree.nextId});
}

void Writer::reserveForCall() {
    file_.reserve(RecordFile::sizeOf(call_.bytes.size()) + blocksPerCall * blockRecordSize);
}

void Writer::appendCall(unsigned int nextId) noexcept {
    if (isIncomplete_ || !isWorthRecording_) {
        return;
    }
    constexpr std::size_t nextIdOffset = sizeof(CallHead::currentId);
    call_.replace(nextIdOffset, std::uint32_t{nextId});
    file_.append(static_cast<std::uint8_t>(kind_), call_.bytes); // cannot fail: there is room
    writeIfLarge();
}

void Writer::fail(const Database& database, const Modifier::NodeData&) noexcept {
    recordStates(*database.tree, nullptr, 0);
}

/// Records the nodes of a failed call: those that it added, those that it had reached, and the one
/// that it was working on.
void Writer::recordStates(const TyrMek::Tree& tree, const unsigned int* reached,
                          std::size_t count) noexcept {
    try {
        if (!hadRoot_ && tree.GetReqNode(1).value != nullptr) {
            appendState(tree, 1, firstNewId_);
        }
        for (unsigned int id = firstNewId_; id < tree.nextId; ++id) {
            appendState(tree, id, id + 1);
        }
        std::for_each(reached, reached + count, [&](unsigned int id) { appendOldState(tree, id); });
        appendOldState(tree, tree.currentId);
    } catch (...) {
        isIncomplete_ = true;
    }
    writeIfLarge();
}

void Writer::appendOldState(const TyrMek::Tree& tree, unsigned int id) {
    if (id != 0 && id < firstNewId_ && tree.GetReqNode(id).value != nullptr) {
        appendState(tree, id, tree.nextId);
    }
}

void Writer::appendState(const TyrMek::Tree& tree, unsigned int id, unsigned int nextIdAfter) {
    Encoder encoder;
    encode(encoder, CallHead{tree.currentId, nextIdAfter});
    encodeState(encoder, tree, id);
    file_.append(static_cast<std::uint8_t>(RecordKind::NodeState), encoder.bytes);
}

void Writer::writeIfLarge() noexcept {
    if (isIncomplete_ || file_.pendingSize() < writeSize) {
        return;
    }
    try {
        file_.write();
    } catch (...) {
        // the records are kept; `write` reports the error
    }
}

} // namespace Tyr::Mek2::Journal
