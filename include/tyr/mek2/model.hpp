/// @file
/// `Model`, the one class through which an application writes a file; brings in all value types.
///
/// @code
/// Tyr::Mek2::Model model;
/// model.saveTo("plate.mek");
/// model.addNode(Tyr::Mek2::NodeType::RootGroup, "plate");
/// const unsigned int mesh = model.addNode(Tyr::Mek2::NodeType::Shape, "surface");
/// model.addArrayProperty(Tyr::Mek2::DatasetType::Coordinates, coordinates, mesh,
///                        Tyr::Mek2::Step{});
/// model.close();
/// @endcode
#pragma once

#include <tyr/export.hpp>
#include <tyr/mek2/array.hpp>
#include <tyr/mek2/attributes.hpp>
#include <tyr/mek2/enumerations.hpp>
#include <tyr/mek2/nodeproperties.hpp>
#include <tyr/mek2/saveroptions.hpp>
#include <tyr/mek2/step.hpp>

#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace Tyr::Mek2 {

class Database;

/// The types of text that `Model::saveTo` takes a path in. (No condition stands in the operation
/// itself: compilers disagree in the symbols for that.)
template <class S>
struct PathText {};
template <>
struct PathText<std::string> {
    using Result = void;
};
template <>
struct PathText<std::wstring> {
    using Result = void;
};

/// Writes models: any number of write cycles, one after the other, each on a file of its own.
///
/// A write cycle starts with `saveTo` and ends with `close`, or with the destruction of the
/// `Model`. In between the content tree is built, and every array goes to the file at once, so
/// that memory stays bounded by one block of bulk data (200 MiB unless the environment variable
/// MEKWRITER_DEFAULT_BLOCK_SIZE says otherwise), its compressed form while it is written, and a
/// copy of the array at hand. The tree and all light data follow at `close`; a file that was not
/// closed has no index and cannot be read.
///
/// Nodes have ids: 1 is the root, 0 stands for none, the others count up from 2 in order of
/// creation. The tree has a current node. `addNode` adds below it, and each operation says where
/// it stands afterwards.
///
/// Failures are thrown (`<tyr/exception/exception.hpp>`), with no rollback of what was done before;
/// afterwards the `Model` can still be closed, destroyed or, once closed, used again. Besides the
/// failures told, `std::bad_alloc` and, for block memory, `MemoryAllocationException` can come out
/// of every operation.
///
/// A `Model` is for one thread at a time; different `Model` objects may be used on different
/// threads at once.
class MEKAPI2_API Model {
public:
    /// No id is ever this value. A look-up that finds nothing gives 0.
    static constexpr unsigned int INVALID_ID = 0xFFFFFFFF;

    /// "/"
    static const std::string& defaultPathSeparator();

    Model();

    /// Ends a running write cycle like `close`. A failure of that is swallowed, after the stream
    /// was closed and the memory released; call `close` to hear of it.
    ~Model();

    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    /// Takes over the running write cycle; `other` is as new afterwards. Takes memory for that, and
    /// changes nothing where there is none.
    Model(Model&& other);

    /// Takes over the write cycle of `other`, which is as new afterwards, and ends this object's
    /// own as the destructor does.
    Model& operator=(Model&& other);

    /// Starts a write cycle: creates the file and writes its head.
    ///
    /// An empty path starts a write cycle without a file: the tree can be built, arrays are
    /// refused, and `close` writes nothing. Each call seeds `std::rand` of the process with 0.
    ///
    /// @tparam S `std::string`, or `std::wstring` (on POSIX the file name is its UTF-8 form)
    /// @throws InvalidObjectState "Not Empty": a write cycle is running; it goes on undisturbed
    /// @throws FileOpenException "File exists.": and `options.overwrite` is false
    /// @throws MiscelleneousException "Unable to open file ...": the system cannot open it
    ///
    /// After the last two failures the write cycle runs without a file until `close`.
    template <class S>
    typename PathText<S>::Result saveTo(const S& path,
                                        const SaverOptions& options = SaverOptions());

    /// The same for a zero-terminated path, which must not be null.
    /// @tparam CharT `char` or `wchar_t`
    template <class CharT>
    void saveTo(const CharT* const path, const SaverOptions& options = SaverOptions());

    /// Ends the write cycle: writes the tree, all light data and the index, and closes the file.
    /// Every byte has been handed to the system when it returns. Without a write cycle it does
    /// nothing.
    ///
    /// After a failure the file is incomplete, without an index. The write cycle is then still
    /// open, and a further `close` drops it without saving again.
    ///
    /// @throws FileWriteException "Unable to write to file" or "Saving the buffer failed": the
    ///     system refused bytes or a position
    /// @throws OverflowError, MiscelleneousException "Unable to compress block": the light data of
    ///     one kind, or its compressed form, has 2^32 bytes or more
    void close();

    /// Adds a node below the current node, or as the root if there is none yet.
    ///
    /// Names need not be unique. Of a shape the id of its geometry is returned, which is the one
    /// that `addArrayProperty` takes; the shape's own id is one lower. A root shape has no
    /// geometry. Attributes are for groups; those of a shape are not looked at.
    ///
    /// Afterwards the current node is the one whose id is returned. A failure changes nothing.
    ///
    /// @return the new id
    /// @throws InvalidObjectState "File not open.": no write cycle
    /// @throws InvalidArguments "Invalid node type for root node", "Invalid node type", or an
    ///     attribute of a kind that cannot be stored
    /// @throws KeyNotFound a failed `addArrayProperty` left an unknown id as the current node
    unsigned int addNode(NodeType type, const std::string& name,
                         const Attributes& attributes = emptyAttributes());

    /// Makes `id` the current node.
    /// @throws InvalidObjectState "Not initialized": no write cycle
    /// @throws OutOfBounds no node has this id
    void setCurrentNodeId(unsigned int id);

    /// Makes the parent the current node; on the root it does nothing.
    /// @throws InvalidObjectState "Not initialized": no write cycle
    /// @throws KeyNotFound a failed `addArrayProperty` left an unknown id as the current node
    void moveToParentNode();

    /// Finds a node by its path from the root: separator, root name, separator, name and so on.
    ///
    /// `separator` is taken as one whole text, and what stands in its place behind the root's name
    /// is not compared with it. Of children of equal name the first added is found; groups and
    /// shapes are not told apart. A shape's geometry has the path of the shape with the shape's
    /// name once more. Afterwards the current node is the root, unless `path` is empty.
    ///
    /// @return the id, or 0 if there is no such node
    /// @throws InvalidObjectState "Not initialized": no write cycle
    unsigned int getNodeId(const std::string& path,
                           const std::string& separator = defaultPathSeparator());

    /// The same from the names of the path, the root's first. No name may hold the character 0x1E.
    unsigned int getNodeId(const std::vector<std::string>& components);

    /// Sets the placement or attributes of a group, or the look of a shape.
    ///
    /// The id of a geometry stands for its shape. Properties are applied in ascending order of
    /// their keys; when one fails those before it stay applied. Attributes are added to a group's
    /// own or replace those of the same key; on other nodes they are not looked at. All of it is
    /// written at `close`, so the last value wins.
    ///
    /// Afterwards the current node is `id`, or the shape if `id` is its geometry, also where a
    /// property or an attribute was refused.
    ///
    /// @throws InvalidObjectState "File not open.": no write cycle
    /// @throws OutOfBounds no node has this id
    /// @throws InvalidArguments "Invalid property type": key does not fit the node; "Invalid
    ///     properties": unknown key; "invalid array size": wrong number of values; or an attribute
    ///     of a kind that cannot be stored
    /// @throws TemplateSpecializationNotDefined a value of another type than the key demands
    void setNodeData(unsigned int id, const NodeProperties& properties,
                     const Attributes& attributes = emptyAttributes());

    /// Adds all groups and shapes that a list of paths names, and reuses those that exist.
    ///
    /// A path starts with the separator and the root's name. One that ends in the separator leads
    /// to a group, any other to a shape; all names before the last are groups. Every single byte of
    /// `separator` cuts, so that it should be an ASCII character, and empty names between cuts are
    /// passed over.
    ///
    /// Afterwards the current node is the end of the last path that has a name.
    ///
    /// @return one id for each path, in order: of the group, of the geometry below the shape, 1
    ///     for the root's own path, or 0 for a path without any name
    /// @throws InvalidObjectState "File not open.": no write cycle
    /// @throws InvalidArguments "Relative paths not supported"
    /// @throws NotYetImplemented a path starts with another name than the root's
    Array1d<unsigned int> addAssemblyComponents(
        const std::vector<std::string>& paths,
        const std::string& separator = defaultPathSeparator());

    /// The same with attributes for the groups at the ends of paths, in the order of the map.
    /// They are added to the group's own or replace those of the same key.
    /// @throws InvalidArguments also for an attribute of a kind that cannot be stored
    Array1d<unsigned int> addAssemblyComponents(
        const std::map<std::string, Attributes>& paths,
        const std::string& separator = defaultPathSeparator());

    /// Streams an array into the file and makes it a named variable of geometries, for steps.
    ///
    /// The array is written once. The first pair of a geometry and a step owns it and carries the
    /// attributes; all further pairs become links to the first. A variable's name is `name`, and
    /// behind it, if the step has a name, the character 0x1E and that. Ids of groups and shapes
    /// are passed over. A variable of that name which the geometry has already gets the new data,
    /// and the attributes are added to its own. Attributes of the call win over those of a step.
    /// The keys "Complex", "Contents", "DataSource", "DataType", "Structure" and those that begin
    /// with "Link." are left out; "Category" with the text "Vibration" marks the variable as a
    /// vibration.
    ///
    /// With no rows or no ids nothing happens, once the type is known to be good. Otherwise, if
    /// there are steps, the current node afterwards is the last id that was handled. After a
    /// failure the pairs handled before it keep their variables, and the data stays in the file
    /// even if no variable refers to it.
    ///
    /// @tparam Array `Array1d` or `Array2d` of `float` or `unsigned int`
    /// @tparam Id `unsigned int` or `Array1d<unsigned int>`: ids of geometries
    /// @tparam Steps `Step` or `StepList`
    /// @throws InvalidObjectState "File not open.": no write cycle, or one without a file
    /// @throws InvalidArguments unknown type, wrong number of columns, or an attribute of a kind
    ///     that cannot be stored
    /// @throws OverflowError 2^31 or more rows or ids, or a dataset of 2^32 bytes or more
    /// @throws KeyNotFound an id is not in the tree; it is the current node then
    /// @throws FileWriteException the system refused bytes; `close` will fail as well
    template <class Array, class Id, class Steps>
    void addArrayProperty(const std::string& name, DatasetType type, const Array& array,
                          const Id& ids, const Steps& steps,
                          const Attributes& attributes = emptyAttributes());

    /// The same under the name that belongs to `type`.
    /// @throws InvalidArguments also for a type that has no name of its own
    template <class Array, class Id, class Steps>
    void addArrayProperty(DatasetType type, const Array& array, const Id& ids, const Steps& steps,
                          const Attributes& attributes = emptyAttributes());

private:
    static const Attributes& emptyAttributes();

    Database* database_;
};

/// Tells whether `Model::addArrayProperty` exists for these argument types.
template <class Array, class Id, class Steps>
inline constexpr bool isArrayPropertyCall = std::conjunction_v<
    std::disjunction<
        std::is_same<Array, Array1d<unsigned int>>, std::is_same<Array, Array1d<float>>,
        std::is_same<Array, Array2d<unsigned int>>, std::is_same<Array, Array2d<float>>>,
    std::disjunction<std::is_same<Id, unsigned int>, std::is_same<Id, Array1d<unsigned int>>>,
    std::disjunction<std::is_same<Steps, Step>, std::is_same<Steps, StepList>>>;

// The primary templates are there for calls with other types only, to say what is wrong with them;
// the types that exist are specialised in the library.

template <class Array, class Id, class Steps>
void Model::addArrayProperty(const std::string&, DatasetType, const Array&, const Id&, const Steps&,
                             const Attributes&) {
    static_assert(isArrayPropertyCall<Array, Id, Steps>,
                  "Model::addArrayProperty takes an Array1d or Array2d of float or unsigned int, "
                  "an id (unsigned int) or Array1d<unsigned int> of ids, and a Step or StepList");
}

template <class Array, class Id, class Steps>
void Model::addArrayProperty(DatasetType, const Array&, const Id&, const Steps&,
                             const Attributes&) {
    static_assert(isArrayPropertyCall<Array, Id, Steps>,
                  "Model::addArrayProperty takes an Array1d or Array2d of float or unsigned int, "
                  "an id (unsigned int) or Array1d<unsigned int> of ids, and a Step or StepList");
}

/// Applies MACRO(array, id, steps) to all types that `Model::addArrayProperty` exists for.
#define TYR_MEK2_FOR_ARRAY(MACRO, ARRAY)      \
    MACRO(ARRAY, unsigned int, Step)          \
    MACRO(ARRAY, unsigned int, StepList)      \
    MACRO(ARRAY, Array1d<unsigned int>, Step) \
    MACRO(ARRAY, Array1d<unsigned int>, StepList)
#define TYR_MEK2_FOR_ARRAY_PROPERTIES(MACRO)         \
    TYR_MEK2_FOR_ARRAY(MACRO, Array1d<unsigned int>) \
    TYR_MEK2_FOR_ARRAY(MACRO, Array1d<float>)        \
    TYR_MEK2_FOR_ARRAY(MACRO, Array2d<unsigned int>) \
    TYR_MEK2_FOR_ARRAY(MACRO, Array2d<float>)

#define TYR_MEK2_DECLARE(ARRAY, ID, STEPS)                                                       \
    template <>                                                                                  \
    MEKAPI2_API void Model::addArrayProperty(const std::string&, DatasetType, const ARRAY&,      \
                                             const ID&, const STEPS&, const Attributes&);        \
    template <>                                                                                  \
    MEKAPI2_API void Model::addArrayProperty(DatasetType, const ARRAY&, const ID&, const STEPS&, \
                                             const Attributes&);
TYR_MEK2_FOR_ARRAY_PROPERTIES(TYR_MEK2_DECLARE)
#undef TYR_MEK2_DECLARE

template <>
MEKAPI2_API void Model::saveTo(const std::string& path, const SaverOptions& options);
template <>
MEKAPI2_API void Model::saveTo(const std::wstring& path, const SaverOptions& options);
template <>
MEKAPI2_API void Model::saveTo(const char* const path, const SaverOptions& options);
template <>
MEKAPI2_API void Model::saveTo(const wchar_t* const path, const SaverOptions& options);

} // namespace Tyr::Mek2
