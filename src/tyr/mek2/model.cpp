#include <tyr/mek2/model.hpp>
#include <tyr/mek2/packedarray.hpp>

#include "tyr/exception/raise.hpp"
#include "tyr/mek2/adder/arrayproperty.hpp"
#include "tyr/mek2/adder/components.hpp"
#include "tyr/mek2/adder/node.hpp"
#include "tyr/mek2/arraypropertycalls.hpp"
#include "tyr/mek2/database.hpp"
#include "tyr/mek2/extractor/nodeid.hpp"
#include "tyr/mek2/modifier/currentnodeid.hpp"
#include "tyr/mek2/modifier/nodedata.hpp"
#include "tyr/mek2/safeoutput.hpp"
#include "tyr/mek2/saver.hpp"
#include "tyr/mek2/valuestorage.hpp"

#include <utility>

namespace Tyr::Mek2 {

namespace {

/// Separates the names of a path that is passed as a list.
constexpr char componentSeparator = '\x1E';

void describePath(FileDescription& description, const std::string& path) {
    description.path = path;
}

void describePath(FileDescription& description, const std::wstring& path) {
    description.widePath = path;
}

template <class S>
void startWriteCycle(Database& database, const S& path, const SaverOptions& options) {
    FileDescription description;
    describePath(description, path);
    Saver(description, options).save(database);
}

/// Makes a call, and records it if the write cycle has a journal.
template <class Command>
void run(Database& database, Command& command) {
    const BlockSizeScope scope(database);
    Journal::Writer* const journal = database.output ? database.output->journal() : nullptr;
    if (journal != nullptr) {
        journal->run(database, command);
    } else {
        command.update(database);
    }
}

template <class Container>
Array1d<unsigned int> addComponents(Database& database, const Container& paths,
                                    const std::string& separator) {
    Adder::Components<Container, Column<unsigned int>> adder(paths);
    adder.separator = separator;
    run(database, adder);
    return {adder.result.data(), static_cast<std::size_t>(adder.result.size())};
}

template <class T>
Adder::ColumnAdder<T> adderFor(const Array1d<T>&) {
    return {};
}

template <class T>
Adder::TableAdder<T> adderFor(const Array2d<T>&) {
    return {};
}

Adder::PackedAdder adderFor(const PackedArray&) { return {}; }
Adder::PackedAdder adderFor(const PackedStream&) { return {}; }

Column<unsigned int> idColumn(unsigned int id) { return Column<unsigned int>::Constant(1, id); }
const Column<unsigned int>& idColumn(const Array1d<unsigned int>& ids) {
    return ValueAccess::of(ids);
}

std::vector<StepData> stepDataOf(const Step& step) {
    return std::vector<StepData>(1, StepData(step.name, ValueAccess::of(step.attributes)));
}
const std::vector<StepData>& stepDataOf(const StepList& steps) { return ValueAccess::of(steps); }

/// What runs tasks in the write cycle; empty if nothing does, or if the file is not open.
const ParallelFor& tasksOf(const Database& database) {
    static const ParallelFor none;
    const bool isOpen = database.tree && database.tree->AcceptsDatasets();
    return isOpen ? database.tree->file.index.Tasks() : none;
}

template <class Values>
Values copyInTasks(const Values& values, const ParallelFor& tasks) {
    if (!tasks) {
        return values;
    }
    Values copy(values.rows(), values.cols());
    TyrQbf::CopyBytes(values.data(),
                      sizeof(*values.data()) * static_cast<std::size_t>(values.size()), copy.data(),
                      tasks);
    return copy;
}

PackedRows copyInTasks(const std::shared_ptr<const PackedStorage>& values, const ParallelFor&) {
    return values;
}

/// @param name null: the default name of the type
template <class Array, class Id, class Steps>
void writeArrayProperty(Database& database, const std::string* name, DatasetType type,
                        const Array& array, const Id& ids, const Steps& steps,
                        const Attributes& attributes) {
    auto adder = adderFor(array);
    auto& property = adder.property;
    property.setData({copyInTasks(ValueAccess::of(array), tasksOf(database)),
                      copyOf(ValueAccess::of(attributes))});
    property.name = name != nullptr ? *name : property.nameFrom(type);
    property.type = type;
    property.width = property.widthFrom(type);
    adder.ids = idColumn(ids);
    adder.steps = stepDataOf(steps);
    run(database, adder);
}

} // namespace

const std::string& Model::defaultPathSeparator() {
    static const std::string separator = "/";
    return separator;
}

const Attributes& Model::emptyAttributes() {
    static const Attributes attributes;
    return attributes;
}

Model::Model() : database_(new Database) {}

Model::~Model() {
    try {
        database_->abandon();
    } catch (...) {
        // the destructor of the database closes the stream without saving
    }
    delete database_;
    database_ = nullptr;
}

Model::Model(Model&& other) : Model() { std::swap(database_, other.database_); }

Model& Model::operator=(Model&& other) {
    Model taken(std::move(other));
    std::swap(database_, taken.database_);
    return *this;
}

template <>
void Model::saveTo(const std::string& path, const SaverOptions& options) {
    startWriteCycle(*database_, path, options);
}

template <>
void Model::saveTo(const std::wstring& path, const SaverOptions& options) {
    startWriteCycle(*database_, path, options);
}

template <>
void Model::saveTo(const char* const path, const SaverOptions& options) {
    saveTo(std::string(path), options);
}

template <>
void Model::saveTo(const wchar_t* const path, const SaverOptions& options) {
    saveTo(std::wstring(path), options);
}

void Model::close() {
    Base::Database& database = *database_;
    database.close();
}

void Model::checkpoint(Durability durability) {
    database_->assertOpenedForWriting();
    if (database_->tree->file.stream == nullptr) {
        TYR_RAISE(Exception::InvalidObjectState("File not open."));
    }
    if (!database_->output || database_->output->journal() == nullptr) {
        TYR_RAISE(Exception::InvalidObjectState("No journal"));
    }
    const BlockSizeScope scope(*database_);
    database_->output->checkpoint(*database_->tree, durability == Durability::Device);
}

std::string Model::temporaryPath() {
    return database_->output ? database_->output->temporaryPath() : std::string();
}

unsigned int Model::addNode(NodeType type, const std::string& name, const Attributes& attributes) {
    Adder::Node adder(type, name, ValueAccess::of(attributes));
    run(*database_, adder);
    return adder.id;
}

void Model::setCurrentNodeId(unsigned int id) { Modifier::CurrentNodeId(id).update(*database_); }

void Model::moveToParentNode() { Modifier::UpMover().update(*database_); }

unsigned int Model::getNodeId(const std::string& path, const std::string& separator) {
    return Extractor::NodeId(path, separator).extract(*database_);
}

unsigned int Model::getNodeId(const std::vector<std::string>& components) {
    std::string path;
    for (const std::string& component : components) {
        path += componentSeparator;
        path += component;
    }
    return getNodeId(path, std::string(1, componentSeparator));
}

unsigned int Model::getNodeId(std::initializer_list<std::string> components) {
    return getNodeId(std::vector<std::string>(components));
}

void Model::setNodeData(unsigned int id, const NodeProperties& properties,
                        const Attributes& attributes) {
    Modifier::NodeData modifier(id, ValueAccess::of(properties), ValueAccess::of(attributes));
    run(*database_, modifier);
}

Array1d<unsigned int> Model::addAssemblyComponents(const std::vector<std::string>& paths,
                                                   const std::string& separator) {
    return addComponents(*database_, paths, separator);
}

Array1d<unsigned int> Model::addAssemblyComponents(std::initializer_list<std::string> paths,
                                                   const std::string& separator) {
    return addAssemblyComponents(std::vector<std::string>(paths), separator);
}

Array1d<unsigned int> Model::addAssemblyComponents(const std::map<std::string, Attributes>& paths,
                                                   const std::string& separator) {
    Adder::PathMap pathMap;
    for (const auto& [path, attributes] : paths) {
        pathMap.emplace_hint(pathMap.end(), path, copyOf(ValueAccess::of(attributes)));
    }
    return addComponents(*database_, pathMap, separator);
}

Array1d<unsigned int> Model::addAssemblyComponents(
    std::initializer_list<std::pair<const std::string, Attributes>> paths,
    const std::string& separator) {
    return addAssemblyComponents(std::map<std::string, Attributes>(paths), separator);
}

#define TYR_MEK2_DEFINE(ARRAY, ID, STEPS)                                                       \
    template <>                                                                                 \
    void Model::addArrayProperty(const std::string& name, DatasetType type, const ARRAY& array, \
                                 const ID& ids, const STEPS& steps,                             \
                                 const Attributes& attributes) {                                \
        writeArrayProperty(*database_, &name, type, array, ids, steps, attributes);             \
    }                                                                                           \
    template <>                                                                                 \
    void Model::addArrayProperty(DatasetType type, const ARRAY& array, const ID& ids,           \
                                 const STEPS& steps, const Attributes& attributes) {            \
        writeArrayProperty(*database_, nullptr, type, array, ids, steps, attributes);           \
    }
TYR_MEK2_FOR_ARRAY_PROPERTIES(TYR_MEK2_DEFINE)
TYR_MEK2_FOR_ARRAY(TYR_MEK2_DEFINE, PackedArray)
TYR_MEK2_FOR_ARRAY(TYR_MEK2_DEFINE, PackedStream)
#undef TYR_MEK2_DEFINE

} // namespace Tyr::Mek2
