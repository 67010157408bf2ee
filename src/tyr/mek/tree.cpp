#include "tyr/mek/tree.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/log/logsystem.hpp"
#include "tyr/mek/byteshuffle.hpp"
#include "tyr/mek/geometry.hpp"
#include "tyr/mek/group.hpp"
#include "tyr/mek/recordlayout.hpp"
#include "tyr/mek/shape.hpp"
#include "tyr/platform/platform.hpp"
#include "tyr/qbf/unchangedenvironment.hpp"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <limits>
#include <utility>

namespace TyrMek {

namespace {

const std::string heavyData = "Heavy Data";
const std::string mekTree = "Mek Tree";
const std::string lightData = "Light Data";
const std::string attributeData = "Attributes";
const std::string resources = "Resources";
const std::string globalInformation = "Global Information";
const std::string viewPoints = "View Points";

constexpr std::uint64_t valueSize = 4;

} // namespace

Tree::Tree() {
    // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): documented at `Model::saveTo`
    std::srand(0);
}

Tree::~Tree() {
    for (const auto& [id, node] : std::as_const(nodes)) {
        delete node.value;
    }
}

void Tree::SetStreamFile(const std::string& path, bool overwrite) {
    TYR_LOG("TyrMek::Tree::SetStreamFile", "Setting mek file \"" << path << '"');
    file.OpenFileForWriting(path, overwrite);
    WriteHead();
}

void Tree::SetStreamFile(const std::wstring& path, bool overwrite) {
    TYR_LOG("TyrMek::Tree::SetStreamFile",
            "Setting mek file \"" << Tyr::Platform::narrowString(path) << '"');
    file.OpenFileForWriting(path, overwrite);
    WriteHead();
}

void Tree::SetStream(std::FILE* stream) {
    file.stream = stream;
    WriteHead();
}

void Tree::WriteHead() {
    version = "1.3";
    file.WriteHead();
}

void Tree::SetRootGroup(const std::string& name, const TyrUtil::AttributeList& attributes) {
    SetRootGroup(name, 0, attributes);
}

void Tree::SetRootGroup(const std::string& name, unsigned char rootFlag,
                        const TyrUtil::AttributeList& attributes) {
    auto group = std::make_unique<Group>(name, attributes);
    group->rootFlag = rootFlag;
    SetRoot(std::move(group));
}

void Tree::SetRootShape(const std::string& name) { SetRoot(std::make_unique<Shape>(name)); }

void Tree::SetRoot(std::unique_ptr<Node> node) {
    currentId = 1;
    if (GetReqNode(currentId).value != nullptr) {
        TYR_RAISE(Tyr::Exception::InvalidObjectState("Root node properties are already set"));
    }
    SetCurrentValue(node.release());
}

void Tree::AddChildNode(std::unique_ptr<Node> node) {
    AddChild();
    SetCurrentValue(node.release());
}

void Tree::AddGroupNode(const std::string& name) {
    auto group = std::make_unique<Group>(name, TyrUtil::AttributeList());
    if (!MoveToMatch(*group, NodesWithSameName())) {
        AddChildNode(std::move(group));
    }
}

void Tree::AddShapeNode(const std::string& name) {
    auto shape = std::make_unique<Shape>(name);
    auto geometry = std::make_unique<Geometry>(name);
    const bool isNew = !MoveToMatch(*shape, NodesWithSameName());
    if (isNew) {
        AddChildNode(std::move(shape));
    }
    if (isNew || !MoveToMatch(*geometry, NodesWithSameName())) {
        AddChildNode(std::move(geometry));
    }
}

template <class Predicate>
bool Tree::MoveToMatch(Node& pattern, Predicate predicate) {
    const unsigned int id = FindMatch(pattern, predicate);
    if (id != 0) {
        currentId = id;
    }
    return id != 0;
}

/// The child that `MoveToChild` moves to, or 0. Compares the first children one by one, which is
/// faster than the index, and searches the index for the others.
template <class Predicate>
unsigned int Tree::FindMatch(Node& pattern, Predicate predicate) {
    constexpr int firstChildren = 16;
    if (!IsIndexed() || currentId == 0 || currentId >= nextId) {
        return FindChild(&pattern, predicate);
    }
    unsigned int id = GetReqNode(currentId).firstChildId;
    for (int seen = 0; id != 0; ++seen) {
        if (seen == firstChildren) {
            return childIndex_.Find(*this, currentId, &pattern, predicate);
        }
        const TyrAdt::TreeNode<Node*>& child = GetReqNode(id);
        if (child.value != nullptr && predicate(child.value, &pattern)) {
            return id;
        }
        id = child.nextSiblingId;
    }
    return 0;
}

unsigned int Tree::GetNodeIdFromPath(const std::string& path, const std::string& separator) {
    const unsigned int id = ResolvePath(path, separator);
    currentId = 1;
    return id;
}

unsigned int Tree::ResolvePath(const std::string& path, const std::string& separator) {
    currentId = 1;
    const Node* const root = GetReqNode(currentId).value;
    if (root == nullptr) {
        return 0;
    }
    const std::string prefix = separator + root->name;
    if (path.compare(0, prefix.size(), prefix) != 0) {
        return 0;
    }
    if (path.size() == prefix.size()) {
        return currentId;
    }
    std::size_t position = prefix.size();
    while (position != std::string::npos) {
        const std::size_t start = position + separator.size();
        if (start > path.size()) {
            return 0; // the path ends inside the separator after the root's name
        }
        position = path.find(separator, start);
        const std::size_t length = position == std::string::npos ? position : position - start;
        Node pattern(path.substr(start, length));
        if (!MoveToMatch(pattern, VirtualNodesWithSameName())) {
            return 0;
        }
    }
    return currentId;
}

std::uint64_t Tree::WriteStreamDataset(const float* data, int count, unsigned char width) {
    return StreamDataset(data, count, width);
}

std::uint64_t Tree::WriteStreamDataset(const unsigned int* data, int count, unsigned char width) {
    return StreamDataset(data, count, width);
}

std::uint64_t Tree::WriteStreamDataset(const TyrQbf::SharedPiece& packed, int count,
                                       unsigned char width) {
    const std::uint64_t size = BeginDataset(count, width);
    const std::uint64_t offset = file.index.GetDataLength(heavyData);
    if (size != 0) {
        if (packed->source != nullptr) {
            file.index.PutPieceFromSource(heavyData, packed, file.stream);
        } else {
            file.index.PutPiece(heavyData, packed);
        }
        file.SetBlockFlags(heavyData, TyrQbf::FlagFreeze); // also of a new block
        file.index.FlushFrozen(file.stream);
    }
    return offset;
}

std::uint64_t Tree::StreamDataset(const void* data, int count, unsigned char width) {
    const std::uint64_t size = BeginDataset(count, width);
    const std::uint64_t offset = file.index.GetDataLength(heavyData);
    if (size == 0) {
        return offset;
    }
    const auto items = static_cast<std::uint64_t>(count);
    std::exception_ptr error;
    const auto shuffle = [&](unsigned char* target) {
        try {
            ShuffleBytes(data, items, width, target, file.index.Tasks());
        } catch (...) { // the block must have all bytes
            error = std::current_exception();
            ShuffleBytes(data, items, width, target);
        }
    };
    file.index.Put(heavyData, size, std::cref(shuffle)); // a reference needs no allocation
    if (error != nullptr) {
        std::rethrow_exception(error);
    }
    file.index.FlushFrozen(file.stream);
    return offset;
}

/// Checks the size of a dataset and the state of the file, and sets the flags of the blocks.
/// @return bytes of the dataset; if there are none, nothing was checked
std::uint64_t Tree::BeginDataset(int count, unsigned char width) {
    const auto items = static_cast<std::uint64_t>(count);
    TYR_LOG_WITH(datasetLines_, "TyrMek::Tree::WriteStreamDataset",
                 "Writing Dataset of size " << static_cast<std::uint32_t>(items * width)
                                            << " width " << static_cast<unsigned int>(width)
                                            << " datatype size " << valueSize);
    if (count == 0 || width == 0) {
        return 0;
    }
    if (count < 0) {
        TYR_RAISE(Tyr::Exception::UnderflowError());
    }
    const std::uint64_t size = valueSize * items * width;
    if (size > std::numeric_limits<std::uint32_t>::max()) {
        TYR_RAISE(Tyr::Exception::OverflowError());
    }
    if (!AcceptsDatasets()) {
        TYR_RAISE(Tyr::Exception::InvalidObjectState("File not open."));
    }
    file.SetBlockFlags(heavyData, TyrQbf::FlagFreeze);
    file.SetBlockFlags(heavyData, TyrQbf::FlagCompress);
    return size;
}

void Tree::WriteDatasets() {
    if (!AcceptsDatasets()) {
        TYR_RAISE(Tyr::Exception::InvalidObjectState("File not open."));
    }
    file.SetBlockFlags(heavyData, TyrQbf::FlagFreeze | TyrQbf::FlagCompress);
    file.index.WriteBlocksOf(heavyData, file.stream);
}

const std::string& Tree::DatasetStream() { return heavyData; }

void Tree::Save(TyrQbf::QbFile& output, const std::string& comment) {
    if (output.stream == nullptr) {
        return;
    }
    const TyrQbf::UnchangedEnvironment environment;
    saveBegun = true;
    SaveTree(output);
    SaveGlobalInfo(output, comment);
    for (const std::string& name :
         {heavyData, mekTree, lightData, attributeData, resources, globalInformation, viewPoints}) {
        output.SetBlockFlags(name, TyrQbf::FlagCompress);
    }
    output.index.WriteAllBuffersToFileStream(output.stream);
    if (std::fflush(output.stream) != 0) {
        TYR_RAISE(Tyr::Exception::FileWriteException("Unable to write to file"));
    }
    output.CloseFile();
}

void Tree::SaveTree(TyrQbf::QbFile& output) {
    TYR_LOG("TyrMek::Tree::SaveTree", "Saving mek tree ... ");
    output.index.Put(mekTree, static_cast<int>(nodes.size()));
    for (const auto& [id, node] : std::as_const(nodes)) {
        SaveNode(output, node);
    }
    TYR_LOG("TyrMek::Tree::SaveTree", "Mek tree saved. ");
}

void Tree::SaveNode(TyrQbf::QbFile& output, const TyrAdt::TreeNode<Node*>& node) {
    TyrQbf::Index& index = output.index;
    using Id = decltype(node.id);
    static_assert(AreFields<Id, Id, Id, Id, Id, Id>(NodeRecord::untilName));
    const std::string none;
    const std::string type = node.value != nullptr ? node.value->GetType() : none;
    index.PutEach(
        mekTree, node.id, node.parentId, node.previousSiblingId, node.nextSiblingId,
        node.firstChildId, node.lastChildId, node.value != nullptr ? node.value->name : none, type,
        node.value != nullptr ? node.value->GetVersion() : none, index.GetDataLength(lightData));

    if (type == "Group") {
        static_cast<Group&>(*node.value).WriteQb(output, lightData, attributeData);
    } else if (type == "Shape") {
        index.Put(resources, static_cast<const Shape&>(*node.value).material);
    } else if (type == "Geometry") {
        static_cast<Geometry&>(*node.value).WriteQb(output, lightData, heavyData, attributeData);
    }
}

void Tree::SaveGlobalInfo(TyrQbf::QbFile& output, const std::string& comment) {
    TYR_LOG("TyrMek::Tree::SaveGlobalInfo", "Saving global information ...");
    currentModifier.date = Tyr::Platform::localDate();
    currentModifier.formatVersion = version;
    if (currentModifier.recordHost) {
        currentModifier.computerName = Tyr::Platform::computerName();
        currentModifier.userName = Tyr::Platform::userName();
    }
    currentModifier.comment = comment;
    modifiers.push_back(currentModifier);
    output.index.Put(globalInformation, modifiers);
    output.index.Put(globalInformation, results);
    output.SetBlockFlags(globalInformation, TyrQbf::FlagCompress);
    TYR_LOG("TyrMek::Tree::SaveGlobalInfo", "Global information saved.");
}

} // namespace TyrMek
