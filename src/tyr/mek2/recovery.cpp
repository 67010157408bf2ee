#include <tyr/mek2/recovery.hpp>

#include "tyr/exception/raise.hpp"
#include "tyr/mek2/database.hpp"
#include "tyr/mek2/filenames.hpp"
#include "tyr/mek2/journal/calls.hpp"
#include "tyr/mek2/safeoutput.hpp"
#include "tyr/platform/files.hpp"
#include "tyr/platform/platform.hpp"
#include "tyr/qbf/qbfile.hpp"
#include "tyr/qbf/unchangedenvironment.hpp"
#include "tyr/qbf/zlibstream.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <system_error>
#include <vector>

namespace Tyr::Mek2 {

namespace {

using Platform::NativePath;

struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;

Stream openInput(const NativePath& path) {
    Stream stream(Platform::openFileForReading(path));
    if (stream == nullptr) {
        const std::string message =
            "Unable to open file " + Platform::inQuotes(path) + ": " + Platform::lastErrorReason();
        TYR_RAISE(Exception::FileOpenException(message.c_str()));
    }
    return stream;
}

[[noreturn]] void raiseInvalid(const NativePath& path, const char* what) {
    const std::string message = Platform::inQuotes(path) + what;
    TYR_RAISE(Exception::InvalidArguments(message.c_str()));
}

/// What the first bytes of a model file show.
enum class FileState { Foreign, Unfinished, HasIndex };

/// The first bytes of a model file, up to the end of the first index table.
class FileHead {
public:
    explicit FileHead(std::FILE* stream) : count_(std::fread(bytes_.data(), 1, size, stream)) {}

    FileState state() const {
        const auto& signature = TyrQbf::FileSignature;
        if (count_ < signature.size() ||
            !std::equal(signature.begin(), signature.end(), bytes_.begin())) {
            return FileState::Foreign;
        }
        constexpr std::size_t tableLengthOffset = 12;
        constexpr std::uint32_t tableLength = 2784;
        const auto length = TyrQbf::DecodeLittleEndian<std::uint32_t>(&bytes_[tableLengthOffset]);
        return length == tableLength ? FileState::HasIndex : FileState::Unfinished;
    }

    bool has(const Journal::Identity& identity) const {
        return count_ == size &&
               std::equal(identity.begin(), identity.end(), &bytes_[TyrQbf::identityPosition]);
    }

private:
    static constexpr std::size_t size =
        TyrQbf::identityPosition + std::tuple_size_v<Journal::Identity>;

    std::array<unsigned char, size> bytes_{};
    std::size_t count_;
};

[[noreturn]] void raiseNoJournal(const NativePath& path) {
    switch (FileHead(openInput(path).get()).state()) {
        case FileState::Foreign:
            raiseInvalid(path, " is not a model file");
        case FileState::HasIndex:
            raiseInvalid(path, " is complete");
        default:
            const std::string message = Platform::inQuotes(path) + " has no journal";
            TYR_RAISE(Exception::FileOpenException(message.c_str()));
    }
}

/// The journal of an unfinished file; the path can be that of the journal.
NativePath findJournal(const NativePath& path) {
    if (targetOfJournal(path)) {
        return path;
    }
    NativePath journal = journalPathOf(path);
    const std::optional<NativePath> target = targetOfTemporary(path);
    if (!Platform::fileExists(journal) && target) {
        journal = journalPathOf(*target);
    }
    if (!Platform::fileExists(journal)) { // with `replaceWhenComplete` it is beside the target
        journal = journalPathOf(Platform::linkTarget(path));
    }
    if (!Platform::fileExists(journal)) {
        raiseNoJournal(path);
    }
    return journal;
}

/// The unfinished file and its journal, proved to belong together.
struct Input {
    NativePath journal;
    Journal::Start start;
    NativePath file;
    Stream stream;
    bool hasIndex = false; ///< instead of the identity
};

/// A journal without its file: the process ended between the last two steps of a `close`, or the
/// file was moved.
void refuseLeftover(const Input& input) {
    const NativePath target = targetOfJournal(input.journal).value_or(input.file);
    if (!Platform::fileExists(input.file) && Platform::fileExists(target) &&
        FileHead(openInput(target).get()).state() == FileState::HasIndex) {
        const std::string what = " is complete, and the file of its journal, " +
                                 Platform::inQuotes(input.file) + ", is missing";
        raiseInvalid(target, what.c_str());
    }
}

Input openUnfinished(const NativePath& path) {
    Input input{findJournal(path), {}, {}, nullptr, false};
    input.start = Journal::readStart(input.journal);
    const std::optional<NativePath> name = Platform::nativeName(input.start.fileName);
    if (!name || Platform::nameOf(*name) != *name) {
        raiseInvalid(input.journal, " has no valid first record");
    }
    input.file = Platform::folderOf(input.journal) + *name;
    refuseLeftover(input);
    input.stream = openInput(input.file);
    const FileHead head(input.stream.get());
    const FileState state = head.state();
    if (state == FileState::Foreign) {
        raiseInvalid(input.file, " is not a model file");
    }
    input.hasIndex = state == FileState::HasIndex;
    // The index table replaces the identity. Then the checksum of the first block must suffice.
    if (state == FileState::Unfinished &&
        !head.has(Journal::RecordReader(input.journal).identity())) {
        raiseInvalid(input.journal, " is the journal of another file");
    }
    return input;
}

/// Makes the model again in the tree of `database`, whose file is open.
class Recovery {
public:
    Recovery(const Input& input, Database& database)
        : input_(input), reader_(input.journal), database_(database), tree_(*database.tree) {}

    RecoveryReport run() {
        copyBlocks();
        if (input_.hasIndex && blockEnds_.empty() && recordsBlocks_) {
            raiseInvalid(input_.journal, " is the journal of another file");
        }
        makeCalls();
        report_.saved.steps = savedSteps_.size();
        report_.lost.steps = lostSteps_.size();
        return report_;
    }

private:
    void copyBlocks() {
        while (const std::optional<Journal::Record> record = reader_.next()) {
            if (record->kind != static_cast<std::uint8_t>(Journal::RecordKind::Block)) {
                continue;
            }
            recordsBlocks_ = true;
            Journal::Decoder decoder(record->payload);
            if (!copyBlock(Journal::decodeBlock(decoder))) {
                break;
            }
        }
    }

    /// @return false if the block is not whole; the output does not have it then
    bool copyBlock(const Journal::Block& block) {
        const TyrQbf::StoredBlock& stored = block.stored;
        if (!isExpected(stored)) {
            return false;
        }
        if (!copyBytes(block)) {
            if (!Platform::setFileLength(tree_.file.stream, stored.position)) {
                raiseWriteError();
            }
            return false;
        }
        tree_.file.index.AdoptBlock(stored);
        blockEnds_.push_back((blockEnds_.empty() ? 0 : blockEnds_.back()) + stored.contentLength);
        return true;
    }

    bool isExpected(const TyrQbf::StoredBlock& stored) const {
        constexpr std::uint8_t flags = TyrQbf::FlagCompress | TyrQbf::FlagFreeze;
        return stored.name == TyrMek::Tree::DatasetStream() && stored.flags == flags &&
               tree_.file.index.CanAdopt(stored) && hasContentLength(stored);
    }

    /// The stored bytes begin with the content length.
    bool hasContentLength(const TyrQbf::StoredBlock& stored) const {
        std::array<unsigned char, sizeof stored.contentLength> field{};
        return stored.storedLength >= field.size() &&
               Platform::seekTo(input_.stream.get(), stored.position) &&
               std::fread(field.data(), field.size(), 1, input_.stream.get()) == 1 &&
               TyrQbf::DecodeLittleEndian<std::uint32_t>(field.data()) == stored.contentLength;
    }

    /// Copies the stored bytes to the same position and compares length and checksum.
    bool copyBytes(const Journal::Block& block) {
        const TyrQbf::StoredBlock& stored = block.stored;
        std::FILE* const output = tree_.file.stream;
        if (!Platform::seekTo(input_.stream.get(), stored.position)) {
            return false;
        }
        if (!Platform::seekTo(output, stored.position)) {
            raiseWriteError();
        }
        std::uint32_t crc = 0;
        std::uint32_t copied = 0;
        while (copied < stored.storedLength) {
            const std::size_t piece =
                std::min<std::size_t>(buffer_.size(), stored.storedLength - copied);
            if (std::fread(buffer_.data(), piece, 1, input_.stream.get()) != 1) {
                return false;
            }
            crc = TyrQbf::Crc32(crc, buffer_.data(), piece);
            if (std::fwrite(buffer_.data(), piece, 1, output) != 1) {
                raiseWriteError();
            }
            copied += static_cast<std::uint32_t>(piece);
        }
        return crc == block.crc;
    }

    void makeCalls() {
        reader_.restart();
        while (const std::optional<Journal::Record> record = reader_.next()) {
            const auto kind = static_cast<Journal::RecordKind>(record->kind);
            if (kind == Journal::RecordKind::Start || kind == Journal::RecordKind::Block) {
                continue;
            }
            try {
                makeOrCount(kind, Journal::Decoder(record->payload));
            } catch (const Exception::Exception& error) {
                end(std::string("a recorded call is invalid: ") + error.what());
                ++report_.lost.calls;
            }
        }
        if (reader_.remaining() != 0) {
            report_.reason +=
                (report_.isComplete() ? "" : "; ") +
                ("the journal has no whole record at byte " + std::to_string(reader_.offset()) +
                 ", and its last " + std::to_string(reader_.remaining()) + " bytes are lost");
        }
    }

    void makeOrCount(Journal::RecordKind kind, Journal::Decoder decoder) {
        const Journal::CallHead head = Journal::decodeCallHead(decoder);
        if (report_.isComplete()) {
            tree_.currentId = head.currentId;
        }
        if (kind == Journal::RecordKind::Array) {
            makeArray(Journal::decodeArray(decoder));
        } else if (report_.isComplete()) {
            Journal::makeCall(database_, kind, decoder);
        }
        if (!report_.isComplete()) {
            ++report_.lost.calls;
        } else if (tree_.nextId != head.nextIdAfter) {
            TYR_RAISE(Exception::InvalidArguments("other ids result"));
        } else {
            ++report_.saved.calls;
        }
    }

    void makeArray(const Journal::ArrayCall& call) {
        if (!isWhole(call)) {
            end("the array \"" + call.name + "\" is not whole in the file");
        }
        RecoveryAmount& amount = report_.isComplete() ? report_.saved : report_.lost;
        if (report_.isComplete()) {
            Journal::attachArray(database_, call);
        }
        ++amount.arrays;
        amount.bytes += call.byteSize();
        const auto reached = std::min<std::uint64_t>(call.attached, call.steps.size());
        for (std::size_t i = 0; i < reached; ++i) {
            countStep(call.steps[i].name);
        }
    }

    void countStep(const std::string& name) {
        if (name.empty()) {
            return; // the array is that of no step
        }
        if (report_.isComplete()) {
            savedSteps_.insert(name);
        } else if (savedSteps_.count(name) == 0) {
            lostSteps_.insert(name);
        }
    }

    /// Whether a copied block contains the array.
    bool isWhole(const Journal::ArrayCall& call) const {
        const auto blockEnd = std::upper_bound(blockEnds_.begin(), blockEnds_.end(), call.offset);
        return blockEnd != blockEnds_.end() && call.byteSize() <= *blockEnd - call.offset;
    }

    /// The first reason counts.
    void end(const std::string& reason) {
        if (report_.isComplete()) {
            report_.reason = reason;
        }
    }

    [[noreturn]] void raiseWriteError() const {
        TYR_RAISE(Exception::FileWriteException("Unable to write to file"));
    }

    static constexpr std::size_t bufferSize = 1 << 20;

    const Input& input_;
    Journal::RecordReader reader_; ///< one for both passes: the writer may append in between
    Database& database_;
    TyrMek::Tree& tree_;
    RecoveryReport report_;
    bool recordsBlocks_ = false;
    std::vector<std::uint64_t> blockEnds_; ///< in the stream of datasets
    std::set<std::string> savedSteps_;
    std::set<std::string> lostSteps_;
    std::vector<unsigned char> buffer_ = std::vector<unsigned char>(bufferSize);
};

void refuseInputAsOutput(const Input& input, const NativePath& output) {
    for (const NativePath& path : {input.file, input.journal}) {
        std::error_code error;
        if (std::filesystem::equivalent(path, output, error)) {
            raiseInvalid(output, " is an input");
        }
    }
}

/// On the calling thread.
void runInOrder(std::size_t count, const std::function<void(std::size_t)>& task) {
    for (std::size_t index = 0; index < count; ++index) {
        task(index);
    }
}

RecoveryReport recoverNative(const std::optional<NativePath>& unfinished,
                             const std::optional<NativePath>& output, bool overwrite,
                             const TemporaryFileObserver& onTemporaryFile) {
    if (!unfinished || !output) {
        TYR_RAISE(Exception::InvalidArguments("a path is invalid"));
    }
    const Input input = openUnfinished(*unfinished);
    refuseInputAsOutput(input, *output);
    SaverOptions options;
    options.overwrite = overwrite;
    options.replaceWhenComplete = true;
    const TyrQbf::UnchangedEnvironment environment(input.start.blockSize);
    Database database;
    database.openedForWriting = true;
    database.relinkReplaced = input.start.relinkReplaced;
    database.tree = std::make_shared<TyrMek::Tree>();
    database.tree->file.index.SetCompression(
        input.start.compressionLevel, input.start.isInChunks ? runInOrder : TyrQbf::ParallelFor());
    if (!input.start.toolName.empty()) {
        database.tree->currentModifier.toolName = input.start.toolName;
        database.tree->currentModifier.toolVersion = input.start.toolVersion;
    }
    database.output = std::make_unique<SafeOutput>(*output, options, *database.tree);
    try {
        if (onTemporaryFile) {
            onTemporaryFile(database.output->temporaryPath());
        }
        RecoveryReport report = Recovery(input, database).run();
        database.close();
        return report;
    } catch (...) {
        database.tree->saveBegun = true; // drops the output
        throw;
    }
}

} // namespace

RecoveryReport recover(const std::string& unfinished, const std::string& output, bool overwrite,
                       const TemporaryFileObserver& onTemporaryFile) {
    return recoverNative(Platform::nativePath(unfinished), Platform::nativePath(output), overwrite,
                         onTemporaryFile);
}

RecoveryReport recover(const std::wstring& unfinished, const std::wstring& output, bool overwrite,
                       const TemporaryFileObserver& onTemporaryFile) {
    return recoverNative(Platform::nativePath(unfinished), Platform::nativePath(output), overwrite,
                         onTemporaryFile);
}

} // namespace Tyr::Mek2
