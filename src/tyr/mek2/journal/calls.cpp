#include "tyr/mek2/journal/calls.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/group.hpp"
#include "tyr/mek/shape.hpp"
#include "tyr/mek2/adder/attachment.hpp"
#include "tyr/mek2/helper/attributes.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <utility>
#include <variant>

namespace Tyr::Mek2::Journal {

namespace {

constexpr std::size_t callHeadSize = 8;

[[noreturn]] void raiseInvalid() {
    TYR_RAISE(Exception::InvalidArguments("a record of the journal is invalid"));
}

// Attributes. Kinds are those of the file. A value that the file cannot hold is left out: a call
// with one fails, or ignores its attributes.

void put(Encoder& encoder, const TyrUtil::AttributeValue& value) {
    encoder.put(static_cast<std::uint8_t>(value.type));
    switch (value.type) {
        case TyrUtil::UnsignedValue:
            return encoder.put(value.value.uintValue);
        case TyrUtil::FloatValue:
            return encoder.put(value.value.floatValue);
        case TyrUtil::DoubleValue:
            return encoder.put(value.value.doubleValue);
        default:
            return encoder.put(value.ToString());
    }
}

void put(Encoder& encoder, const TyrUtil::AttributeList& list) {
    const auto count = std::distance(list.values.begin(), list.values.end());
    encoder.put(static_cast<std::uint32_t>(count));
    for (const TyrUtil::PackedAttributes::Entry& entry : list.values) {
        encoder.put(std::string(entry.key));
        put(encoder, entry.Value());
    }
}

bool isStored(const AttributeVariant& value) {
    return std::holds_alternative<float>(value) || std::holds_alternative<int>(value) ||
           std::holds_alternative<unsigned int>(value) ||
           std::holds_alternative<std::string>(value) || std::holds_alternative<double>(value) ||
           std::holds_alternative<std::int64_t>(value);
}

void put(Encoder& encoder, const AttributeMap& map) {
    const auto count = std::count_if(map.begin(), map.end(),
                                     [](const auto& entry) { return isStored(entry.second); });
    encoder.put(static_cast<std::uint32_t>(count));
    for (const auto& [key, value] : map) {
        if (isStored(value)) {
            encoder.put(key);
            put(encoder, std::visit(Helper::Attributes::AttributeValueGetter(), value));
        }
    }
}

AttributeVariant takeAttribute(Decoder& decoder) {
    switch (decoder.number<std::uint8_t>()) {
        case TyrUtil::UnsignedValue:
            return AttributeVariant(std::in_place_type<unsigned int>,
                                    decoder.number<std::uint32_t>());
        case TyrUtil::FloatValue:
            return AttributeVariant(std::in_place_type<float>, decoder.number<float>());
        case TyrUtil::DoubleValue:
            return AttributeVariant(std::in_place_type<double>, decoder.number<double>());
        case TyrUtil::StringValue:
            return AttributeVariant(std::in_place_type<std::string>, decoder.string());
        default:
            raiseInvalid();
    }
}

AttributeMap takeAttributes(Decoder& decoder) {
    AttributeMap map;
    const auto count = decoder.number<std::uint32_t>();
    for (std::uint32_t i = 0; i < count; ++i) {
        std::string key = decoder.string();
        map.insert_or_assign(std::move(key), takeAttribute(decoder));
    }
    return map;
}

// Properties. A value begins with the index of its alternative.

template <class T>
void putValue(Encoder& encoder, const T& value) {
    encoder.put(value);
}

template <class T>
void putValue(Encoder& encoder, const std::vector<T>& values) {
    encoder.put(static_cast<std::uint32_t>(values.size()));
    for (const T value : values) {
        encoder.put(value);
    }
}

template <class T>
void takeValue(Decoder& decoder, T& value) {
    value = decoder.number<T>();
}

void takeValue(Decoder& decoder, std::string& value) { value = decoder.string(); }

template <class T>
void takeValue(Decoder& decoder, std::vector<T>& values) {
    const auto count = decoder.number<std::uint32_t>();
    for (std::uint32_t i = 0; i < count; ++i) {
        values.push_back(decoder.number<T>());
    }
}

template <class T>
NodePropertyVariant takeAs(Decoder& decoder) {
    T value{};
    takeValue(decoder, value);
    return NodePropertyVariant(std::in_place_type<T>, std::move(value));
}

NodePropertyVariant takeProperty(Decoder& decoder) {
    switch (decoder.number<std::uint8_t>()) {
        case 0:
            return takeAs<int>(decoder);
        case 1:
            return takeAs<float>(decoder);
        case 2:
            return takeAs<std::string>(decoder);
        case 3:
            return takeAs<std::vector<int>>(decoder);
        case 4:
            return takeAs<std::vector<float>>(decoder);
        default:
            raiseInvalid();
    }
}

PropertyMap takeProperties(Decoder& decoder) {
    PropertyMap map;
    const auto count = decoder.number<std::uint32_t>();
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto key = static_cast<PropertyType>(decoder.number<std::int32_t>());
        map.insert_or_assign(key, takeProperty(decoder));
    }
    return map;
}

// Calls

void makeNode(Database& database, Decoder& decoder) {
    const auto type = static_cast<NodeType>(decoder.number<std::int32_t>());
    const std::string name = decoder.string();
    Adder::Node(type, name, takeAttributes(decoder)).update(database);
}

void putPath(Encoder& encoder, const std::string& path) { encoder.put(path); }

void putPath(Encoder& encoder, const Adder::PathMap::value_type& entry) {
    encoder.put(entry.first);
    put(encoder, entry.second);
}

void takePath(Decoder& decoder, Adder::PathList& paths) { paths.push_back(decoder.string()); }

void takePath(Decoder& decoder, Adder::PathMap& paths) {
    std::string path = decoder.string();
    paths.insert_or_assign(std::move(path), takeAttributes(decoder));
}

template <class Container>
void encodePaths(Encoder& encoder, const Adder::Components<Container, Column<unsigned int>>& call) {
    encoder.put(call.separator);
    encoder.put(static_cast<std::uint32_t>(call.paths.size()));
    for (const auto& entry : call.paths) {
        putPath(encoder, entry);
    }
}

template <class Container>
void makeComponents(Database& database, Decoder& decoder) {
    const std::string separator = decoder.string();
    Container paths;
    const auto count = decoder.number<std::uint32_t>();
    for (std::uint32_t i = 0; i < count; ++i) {
        takePath(decoder, paths);
    }
    Adder::Components<Container, Column<unsigned int>> call(paths);
    call.separator = separator;
    call.update(database);
}

void makeNodeData(Database& database, Decoder& decoder) {
    const auto id = decoder.number<std::uint32_t>();
    const PropertyMap properties = takeProperties(decoder);
    Modifier::NodeData(id, properties, takeAttributes(decoder)).update(database);
}

// States of nodes

template <std::size_t Count>
void putFloats(Encoder& encoder, const std::array<float, Count>& values) {
    for (const float value : values) {
        encoder.put(value);
    }
}

template <std::size_t Count>
void takeFloats(Decoder& decoder, std::array<float, Count>& values) {
    for (float& value : values) {
        value = decoder.number<float>();
    }
}

void putState(Encoder& encoder, const TyrMek::Group& group) {
    putFloats(encoder, group.translation);
    putFloats(encoder, group.rotation);
    putFloats(encoder, group.scale);
    encoder.put(group.rootFlag);
    put(encoder, group.attributes);
}

void takeState(Decoder& decoder, TyrMek::Group& group, bool isRoot) {
    takeFloats(decoder, group.translation);
    takeFloats(decoder, group.rotation);
    takeFloats(decoder, group.scale);
    group.rootFlag = decoder.number<std::uint8_t>() != 0 && isRoot ? 1 : 0;
    group.attributes = Helper::Attributes::toAttributeList(takeAttributes(decoder));
}

void putState(Encoder& encoder, const TyrMek::Material& material) {
    putFloats(encoder, material.diffuseColor);
    putFloats(encoder, material.specularColor);
    putFloats(encoder, material.emissiveColor);
    putFloats(encoder, material.ambientColor);
    encoder.put(material.transparency);
    encoder.put(material.shininess);
    encoder.put(static_cast<std::uint8_t>(material.materialFlag));
}

void takeState(Decoder& decoder, TyrMek::Material& material) {
    takeFloats(decoder, material.diffuseColor);
    takeFloats(decoder, material.specularColor);
    takeFloats(decoder, material.emissiveColor);
    takeFloats(decoder, material.ambientColor);
    material.transparency = decoder.number<float>();
    material.shininess = decoder.number<float>();
    material.materialFlag = decoder.number<std::uint8_t>() != 0;
}

std::unique_ptr<TyrMek::Node> newNode(const std::string& type, const std::string& name) {
    if (type == "Group") {
        return std::make_unique<TyrMek::Group>(name, TyrUtil::AttributeList());
    }
    if (type == "Shape") {
        return std::make_unique<TyrMek::Shape>(name);
    }
    if (type == "Geometry") {
        return std::make_unique<TyrMek::Geometry>(name);
    }
    raiseInvalid();
}

/// Adds the node if it is the next one or the root.
void makeState(TyrMek::Tree& tree, Decoder& decoder) {
    const auto id = decoder.number<std::uint32_t>();
    const auto parentId = decoder.number<std::uint32_t>();
    const std::string type = decoder.string();
    const std::string name = decoder.string();
    if (id == tree.nextId) {
        tree.SetCurrentId(parentId);
        tree.AddChildNode(newNode(type, name));
    } else if (tree.GetReqNode(id).value == nullptr) {
        type == "Shape" ? tree.SetRootShape(name)
                        : tree.SetRootGroup(name, TyrUtil::AttributeList());
    }
    TyrMek::Node* const node = std::as_const(tree).GetReqNode(id).value;
    if (auto* const group = dynamic_cast<TyrMek::Group*>(node)) {
        takeState(decoder, *group, id == 1);
    } else if (auto* const shape = dynamic_cast<TyrMek::Shape*>(node)) {
        takeState(decoder, shape->material);
    }
}

} // namespace

void encode(Encoder& encoder, const Start& start) {
    encoder.put(start.fileName);
    encoder.put(start.toolName);
    encoder.put(start.toolVersion);
    encoder.put(static_cast<std::uint8_t>(start.relinkReplaced));
    encoder.put(start.compressionLevel);
    encoder.put(static_cast<std::uint8_t>(start.isInChunks));
    encoder.put(static_cast<std::uint8_t>(start.blockSize.has_value()));
    encoder.put(start.blockSize.value_or(0));
}

Start readStart(const Platform::NativePath& journal) {
    RecordReader reader(journal);
    const std::optional<Record> record = reader.next();
    if (!record || record->kind != static_cast<std::uint8_t>(RecordKind::Start)) {
        const std::string message =
            '"' + Platform::displayPath(journal) + "\" has no valid first record";
        TYR_RAISE(Exception::InvalidArguments(message.c_str()));
    }
    Decoder decoder(record->payload);
    Start start;
    start.fileName = decoder.string();
    start.toolName = decoder.string();
    start.toolVersion = decoder.string();
    start.relinkReplaced = decoder.number<std::uint8_t>() != 0;
    start.compressionLevel = decoder.number<std::uint8_t>();
    start.isInChunks = decoder.number<std::uint8_t>() != 0;
    const bool hasBlockSize = decoder.number<std::uint8_t>() != 0;
    const auto blockSize = decoder.number<std::uint32_t>();
    start.blockSize = hasBlockSize ? std::optional(blockSize) : std::nullopt;
    return start;
}

void encode(Encoder& encoder, const Block& block) {
    encoder.put(block.stored.name);
    encoder.put(block.stored.number);
    encoder.put(block.stored.position);
    encoder.put(block.stored.storedLength);
    encoder.put(block.stored.contentLength);
    encoder.put(block.stored.flags);
    encoder.put(block.crc);
}

Block decodeBlock(Decoder& decoder) {
    Block block;
    block.stored.name = decoder.string();
    block.stored.number = decoder.number<std::uint64_t>();
    block.stored.position = decoder.number<std::uint64_t>();
    block.stored.storedLength = decoder.number<std::uint32_t>();
    block.stored.contentLength = decoder.number<std::uint32_t>();
    block.stored.flags = decoder.number<std::uint8_t>();
    block.crc = decoder.number<std::uint32_t>();
    return block;
}

void encode(Encoder& encoder, const CallHead& head) {
    encoder.put(head.currentId);
    encoder.put(head.nextIdAfter);
}

CallHead decodeCallHead(Decoder& decoder) {
    CallHead head;
    head.currentId = decoder.number<std::uint32_t>();
    head.nextIdAfter = decoder.number<std::uint32_t>();
    return head;
}

RecordKind encodeCall(Encoder& encoder, const Adder::Node& call) {
    encoder.put(static_cast<std::int32_t>(call.type));
    encoder.put(call.name);
    put(encoder, call.attributes);
    return RecordKind::Node;
}

RecordKind encodeCall(Encoder& encoder,
                      const Adder::Components<Adder::PathList, Column<unsigned int>>& call) {
    encodePaths(encoder, call);
    return RecordKind::PathList;
}

RecordKind encodeCall(Encoder& encoder,
                      const Adder::Components<Adder::PathMap, Column<unsigned int>>& call) {
    encodePaths(encoder, call);
    return RecordKind::PathMap;
}

RecordKind encodeCall(Encoder& encoder, const Modifier::NodeData& call) {
    encoder.put(std::uint32_t{call.id});
    encoder.put(static_cast<std::uint32_t>(call.properties.size()));
    for (const auto& [type, value] : call.properties) {
        encoder.put(static_cast<std::int32_t>(type));
        encoder.put(static_cast<std::uint8_t>(value.index()));
        std::visit([&encoder](const auto& held) { putValue(encoder, held); }, value);
    }
    put(encoder, call.attributes);
    return RecordKind::NodeData;
}

void encodeArray(Encoder& encoder, const std::string& name, DatasetType type,
                 std::uint32_t elementType, std::uint64_t rows, std::uint8_t width,
                 const Column<unsigned int>& ids, const std::vector<StepData>& steps,
                 const AttributeMap& attributes) {
    encoder.put(std::uint64_t{0}); // for `completeArray`
    encoder.put(std::uint64_t{0});
    encoder.put(name);
    encoder.put(static_cast<std::int32_t>(type));
    encoder.put(elementType);
    encoder.put(rows);
    encoder.put(width);
    encoder.put(static_cast<std::uint32_t>(ids.size()));
    for (const unsigned int id : ids) {
        encoder.put(std::uint32_t{id});
    }
    encoder.put(static_cast<std::uint32_t>(steps.size()));
    for (const StepData& step : steps) {
        encoder.put(step.name);
        put(encoder, step.attributes);
    }
    put(encoder, attributes);
}

void completeArray(Encoder& encoder, std::uint64_t offset, std::uint64_t attached) {
    constexpr std::size_t start = callHeadSize;
    encoder.replace(start, offset);
    encoder.replace(start + sizeof offset, attached);
}

ArrayCall decodeArray(Decoder& decoder) {
    ArrayCall call;
    call.offset = decoder.number<std::uint64_t>();
    call.attached = decoder.number<std::uint64_t>();
    call.name = decoder.string();
    call.type = static_cast<DatasetType>(decoder.number<std::int32_t>());
    call.elementType = decoder.number<std::uint32_t>();
    call.rows = decoder.number<std::uint64_t>();
    call.width = decoder.number<std::uint8_t>();
    takeValue(decoder, call.ids);
    const auto steps = decoder.number<std::uint32_t>();
    for (std::uint32_t i = 0; i < steps; ++i) {
        std::string name = decoder.string();
        call.steps.emplace_back(name, takeAttributes(decoder));
    }
    call.attributes = takeAttributes(decoder);
    constexpr std::uint64_t largestCount = 0x7FFFFFFF;
    const Dataset* const dataset = findDataset(call.type);
    const bool isNumber = call.elementType == Type::Traits<float>::elementType ||
                          call.elementType == Type::Traits<unsigned int>::elementType;
    if (dataset == nullptr || call.width != dataset->width || !isNumber || call.rows == 0 ||
        call.rows > largestCount || call.attached == 0 ||
        call.attached > std::uint64_t{call.ids.size()} * call.steps.size()) {
        raiseInvalid();
    }
    return call;
}

void attachArray(Database& database, const ArrayCall& call) {
    TyrMek::NumericArray array;
    array.byteSize = call.byteSize();
    array.width = call.width;
    array.elementType = call.elementType;
    Adder::Attachment attachment{call.name,
                                 Mek2::ArrayProperty<ColumnData<float>>::geomTypeFrom(call.type),
                                 call.offset,
                                 array,
                                 Helper::Attributes::toAttributeList(call.attributes),
                                 database.relinkReplaced};
    std::uint64_t remaining = call.attached;
    for (const std::uint32_t id : call.ids) {
        std::size_t coming = call.steps.size();
        for (const StepData& step : call.steps) {
            if (remaining-- == 0) {
                return;
            }
            attachment.attach(*database.tree, id, step, coming--);
        }
    }
}

void makeCall(Database& database, RecordKind kind, Decoder& decoder) {
    switch (kind) {
        case RecordKind::Node:
            return makeNode(database, decoder);
        case RecordKind::PathList:
            return makeComponents<Adder::PathList>(database, decoder);
        case RecordKind::PathMap:
            return makeComponents<Adder::PathMap>(database, decoder);
        case RecordKind::NodeData:
            return makeNodeData(database, decoder);
        case RecordKind::NodeState:
            return makeState(*database.tree, decoder);
        default:
            raiseInvalid();
    }
}

void encodeState(Encoder& encoder, const TyrMek::Tree& tree, unsigned int id) {
    const auto& treeNode = tree.GetReqNode(id);
    TyrMek::Node* const node = treeNode.value;
    encoder.put(std::uint32_t{id});
    encoder.put(std::uint32_t{treeNode.parentId});
    encoder.put(node->GetType());
    encoder.put(node->name);
    if (const auto* const group = dynamic_cast<const TyrMek::Group*>(node)) {
        putState(encoder, *group);
    } else if (const auto* const shape = dynamic_cast<const TyrMek::Shape*>(node)) {
        putState(encoder, shape->material);
    }
}

} // namespace Tyr::Mek2::Journal
