/// @file
/// The payloads of a journal's records: the start of a write cycle, each call that changes the
/// model, and each block of the file.
///
/// `docs/journal.md` lists the fields. Only this file and its source know them.
#pragma once

#include "tyr/mek2/adder/arrayproperty.hpp"
#include "tyr/mek2/adder/components.hpp"
#include "tyr/mek2/adder/node.hpp"
#include "tyr/mek2/database.hpp"
#include "tyr/mek2/journal/decoder.hpp"
#include "tyr/mek2/journal/recordfile.hpp"
#include "tyr/mek2/modifier/nodedata.hpp"
#include "tyr/mek2/valuestorage.hpp"
#include "tyr/qbf/index.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tyr::Mek2::Journal {

enum class RecordKind : std::uint8_t {
    Start = 1, ///< the first record
    Block,     ///< a block of "Heavy Data" that went to the file
    Node,      ///< `Model::addNode`
    PathList,  ///< `Model::addAssemblyComponents` with a list
    PathMap,   ///< `Model::addAssemblyComponents` with a map
    NodeData,  ///< `Model::setNodeData`
    Array,     ///< `Model::addArrayProperty`
    NodeState  ///< a node as a call left it that failed in part
};

/// How a write cycle was started.
struct Start {
    std::string fileName; ///< of the unfinished file, in the folder of the journal; UTF-8
    std::string toolName;
    std::string toolVersion;
    bool relinkReplaced = false;
    std::uint8_t compressionLevel = 6;
    bool isInChunks = false;                ///< blocks are compressed in chunks
    std::optional<std::uint32_t> blockSize; ///< of MEKWRITER_DEFAULT_BLOCK_SIZE
};

void encode(Encoder& encoder, const Start& start);

/// Reads the first record of a journal.
/// @throws FileOpenException the system cannot open the file
/// @throws InvalidArguments it is not a journal, or has no valid first record
Start readStart(const Platform::NativePath& journal);

/// A block with the CRC-32 of its stored bytes.
struct Block {
    TyrQbf::StoredBlock stored;
    std::uint32_t crc = 0;
};

void encode(Encoder& encoder, const Block& block);
Block decodeBlock(Decoder& decoder);

/// What the records of all calls begin with. The current node is recorded instead of the calls that
/// change it.
struct CallHead {
    std::uint32_t currentId = 0;   ///< before the call
    std::uint32_t nextIdAfter = 0; ///< the id of the next node after the call
};

void encode(Encoder& encoder, const CallHead& head);
CallHead decodeCallHead(Decoder& decoder);

/// Composes the record of a call before the call is made. The head has been put.
/// @{
RecordKind encodeCall(Encoder& encoder, const Adder::Node& call);
RecordKind encodeCall(Encoder& encoder,
                      const Adder::Components<Adder::PathList, Column<unsigned int>>& call);
RecordKind encodeCall(Encoder& encoder,
                      const Adder::Components<Adder::PathMap, Column<unsigned int>>& call);
RecordKind encodeCall(Encoder& encoder, const Modifier::NodeData& call);
/// @}

/// An array without its values.
struct ArrayCall {
    std::uint64_t offset = 0;   ///< in "Heavy Data"
    std::uint64_t attached = 0; ///< pairs of id and step that the call attached
    std::string name;
    DatasetType type{};
    std::uint32_t elementType = 0; ///< as in the file
    std::uint64_t rows = 0;
    std::uint8_t width = 1;
    std::vector<std::uint32_t> ids;
    std::vector<StepData> steps;
    AttributeMap attributes;

    std::uint64_t byteSize() const { return rows * width * sizeof(float); }
};

/// Puts an array call; offset and number of pairs follow when the call is done.
void encodeArray(Encoder& encoder, const std::string& name, DatasetType type,
                 std::uint32_t elementType, std::uint64_t rows, std::uint8_t width,
                 const Column<unsigned int>& ids, const std::vector<StepData>& steps,
                 const AttributeMap& attributes);

template <class Property>
RecordKind encodeCall(
    Encoder& encoder,
    const Adder::ArrayProperty<Property, Column<unsigned int>, std::vector<StepData>>& call) {
    const Property& property = call.property;
    encodeArray(encoder, property.name, property.type, elementTypeOf(property),
                static_cast<std::uint64_t>(property.array.rows()), property.width, call.ids,
                call.steps, property.attributes);
    return RecordKind::Array;
}

/// Completes the record of an array call after the call.
void completeArray(Encoder& encoder, std::uint64_t offset, std::uint64_t attached);

ArrayCall decodeArray(Decoder& decoder);

/// Attaches the array of a call, whose values are in the file, to the first pairs of the call.
void attachArray(Database& database, const ArrayCall& call);

/// Makes a call of another kind again. Exceptions of the call pass through.
/// @throws InvalidArguments the payload is invalid
void makeCall(Database& database, RecordKind kind, Decoder& decoder);

/// Puts the content of a node, without its children and variables.
void encodeState(Encoder& encoder, const TyrMek::Tree& tree, unsigned int id);

} // namespace Tyr::Mek2::Journal
