/// @file
/// The model in memory, and the writer of its file.
///
/// A file has up to six named streams. While the model is built, only "Heavy Data" receives bytes:
/// the datasets, one after the other. `Save` writes the others in one walk over the nodes by
/// ascending id:
///
///     "Mek Tree"            int count; for each node: its six ids, name, type, version, and the
///                           length of "Light Data" before this node's record
///     "Light Data"          groups: 10 floats of the placement, root flag; geometries: variables
///     "Attributes"          one list for each group and each variable
///     "Resources"           one material for each shape
///     "Global Information"  list of modifiers, list of results
#pragma once

#include "tyr/adt/adttree.hpp"
#include "tyr/log/linecomposer.hpp"
#include "tyr/mek/attributelist.hpp"
#include "tyr/mek/childindex.hpp"
#include "tyr/mek/globalinfo.hpp"
#include "tyr/mek/node.hpp"
#include "tyr/qbf/qbfile.hpp"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace TyrMek {

/// Owns the payloads of its nodes and the file. Exceptions of the file pass through.
class Tree : public TyrAdt::Tree<Node*> {
public:
    Tree();
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
    ~Tree();

    /// Opens the file and writes its header of 12 bytes.
    void SetStreamFile(const std::string& path, bool overwrite);
    void SetStreamFile(const std::wstring& path, bool overwrite);

    /// Takes a new file that is open for writing and writes its header of 12 bytes. The tree closes
    /// the stream.
    void SetStream(std::FILE* stream);

    /// Makes the root a group; the cursor is on the root afterwards.
    /// @throws InvalidObjectState "Root node properties are already set"
    void SetRootGroup(const std::string& name, const TyrUtil::AttributeList& attributes);
    void SetRootGroup(const std::string& name, unsigned char rootFlag,
                      const TyrUtil::AttributeList& attributes);

    /// Makes the root a shape, without a geometry.
    /// @throws InvalidObjectState "Root node properties are already set"
    void SetRootShape(const std::string& name);

    /// Adds a child with its payload to the current node and moves the cursor to it.
    /// @throws KeyNotFound the cursor is on no node; nothing changes
    void AddChildNode(std::unique_ptr<Node> node);

    /// Moves to the group of that name below the current node; adds it if there is none.
    /// @throws KeyNotFound the cursor is on no node; nothing changes
    void AddGroupNode(const std::string& name);

    /// Moves to the geometry of the shape of that name; adds what is missing of the two.
    void AddShapeNode(const std::string& name);

    /// The id of the node that a path names, or 0. The cursor is on the root afterwards.
    unsigned int GetNodeIdFromPath(const std::string& path, const std::string& separator);

    /// Streams a dataset of `count` items of `width` values and gives its offset in "Heavy Data".
    /// With no items or no width nothing is written.
    /// @throws OverflowError the dataset has 2^32 bytes or more
    /// @throws InvalidObjectState "File not open."
    std::uint64_t WriteStreamDataset(const float* data, int count, unsigned char width);
    std::uint64_t WriteStreamDataset(const unsigned int* data, int count, unsigned char width);

    /// The same for a dataset that is compressed already: its shuffled bytes as one piece. A full
    /// block is written at once.
    std::uint64_t WriteStreamDataset(const TyrQbf::SharedPiece& packed, int count,
                                     unsigned char width);

    /// Writes the datasets that are still in memory. The next dataset starts a new block.
    /// @throws InvalidObjectState "File not open."
    /// @throws FileWriteException
    void WriteDatasets();

    /// The name of the stream of the datasets, "Heavy Data".
    static const std::string& DatasetStream();

    /// Writes everything that is left and closes the file; without an open file it does nothing.
    /// After an error the stream stays open, for `CloseFile`, and `Save` must not be called again.
    /// @throws FileWriteException
    void Save(TyrQbf::QbFile& output, const std::string& comment);
    void SaveTree(TyrQbf::QbFile& output);
    void SaveGlobalInfo(TyrQbf::QbFile& output, const std::string& comment);

    std::string version;
    std::vector<ModifierInfo> modifiers;
    std::vector<ResultAttributes> results;
    ModifierInfo currentModifier;
    TyrQbf::QbFile file;

    /// `Save` has begun: the file accepts no dataset and no second `Save`.
    bool saveBegun = false;

    /// The file is open and accepts datasets.
    bool AcceptsDatasets() const { return file.stream != nullptr && !saveBegun; }

private:
    void WriteHead();
    void SetRoot(std::unique_ptr<Node> node);
    template <class Predicate>
    bool MoveToMatch(Node& pattern, Predicate predicate);
    template <class Predicate>
    unsigned int FindMatch(Node& pattern, Predicate predicate);
    unsigned int ResolvePath(const std::string& path, const std::string& separator);
    std::uint64_t StreamDataset(const void* data, int count, unsigned char width);
    std::uint64_t BeginDataset(int count, unsigned char width);
    void SaveNode(TyrQbf::QbFile& output, const TyrAdt::TreeNode<Node*>& node);

    ChildIndex childIndex_; ///< used only while `IsIndexed` holds
    Tyr::Log::LineComposer datasetLines_;
};

} // namespace TyrMek
