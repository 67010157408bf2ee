/// @file
/// `Model`, the class that writes files. Includes all value types.
///
/// @code
/// #include <tyr/mek2/model.hpp>
///
/// int main() {
///     using namespace Tyr::Mek2;
///     Model model;
///     model.saveTo("line.mek", SaverOptions{true}); // true: replace an existing file
///     model.addNode(NodeType::RootGroup, "root");
///     const unsigned int mesh = model.addNode(NodeType::Shape, "line");
///     model.addArrayProperty(DatasetType::Coordinates, Array2d<float>(2, 3), mesh, Step{});
///     model.addArrayProperty(DatasetType::Connectivity0, Array1d<unsigned int>{0, 1}, mesh,
///                            Step{});
///     model.addArrayProperty(DatasetType::Polylength0, Array1d<unsigned int>{2}, mesh, Step{});
///     model.close();
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>
#include <tyr/mek2/array.hpp>
#include <tyr/mek2/attributes.hpp>
#include <tyr/mek2/enumerations.hpp>
#include <tyr/mek2/nodeproperties.hpp>
#include <tyr/mek2/saveroptions.hpp>
#include <tyr/mek2/step.hpp>

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Tyr::Mek2 {

class Database;

/// Writes models: any number of write cycles, one after the other, each to one file.
///
/// A write cycle starts with `saveTo`. It ends with `close`, or with the destruction of the
/// `Model`. In between, the application builds the tree and adds arrays:
/// - Arrays are compressed and written while they are added. Memory contains one block (of 200 MiB;
///   see `SaverOptions::blockSize`), the compressed form of the block that is being written, and a
///   copy of the array.
/// - Names, attributes, materials and the tree are written at `close`. Until then the file is
///   unfinished: it has no index, and readers refuse it. With `SaverOptions::journal`, `recover`
///   makes a complete file from it.
///
/// Every node has an id. The root has the id 1; the other nodes count from 2 in the order of their
/// creation. No node has the id 0. The tree has a current node, below which `addNode` adds. The
/// documentation of each operation says which node is the current one afterwards.
///
/// Errors are exceptions of `<tyr/exception/exception.hpp>`. Changes made before an error are kept,
/// and the `Model` can be used, closed or destroyed. Every operation may also raise
/// `std::bad_alloc` and, for the memory of a block, `MemoryAllocationException`.
///
/// One thread at a time may use a `Model`. Different objects may be used from different threads at
/// the same time.
class MEKAPI2_API Model {
public:
    /// A number that is never an id. No operation returns it; a look-up without a result returns 0.
    static constexpr unsigned int INVALID_ID = 0xFFFFFFFF;

    /// "/"
    static const std::string& defaultPathSeparator();

    /// No write cycle is open.
    Model();

    /// Ends an open write cycle like `close`. Errors are discarded; call `close` to receive them.
    /// The file is closed and memory released in any case. With
    /// `SaverOptions::replaceWhenComplete` only `close` completes the file; the destructor removes
    /// the temporary file, unless there is a journal.
    ~Model();

    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    /// Moves the open write cycle from `other`. `other` has no open write cycle afterwards.
    /// Allocates; if that fails, neither object changes.
    Model(Model&& other);

    /// The same; then the write cycle that was open in this object ends as in the destructor.
    Model& operator=(Model&& other);

    /// Starts a write cycle: creates the file and writes its first bytes. The tree is empty; the
    /// first `addNode` adds the root.
    ///
    /// With an empty path there is no file: the tree can be built, `addArrayProperty` refuses
    /// arrays, and `close` writes nothing. Each call seeds `std::rand` of the process with 0.
    ///
    /// @tparam S `std::string`, or `std::wstring` (on POSIX, the file name is its UTF-8 form)
    /// @throws InvalidObjectState "Not Empty": a write cycle is open; it is not changed
    /// @throws InvalidArguments `options.compressionLevel` is not 1 to 9; no write cycle is opened
    /// @throws FileOpenException "File exists.": `options.overwrite` is false; the file is kept.
    ///     With `options.journal`: "Journal exists.", or the journal cannot be created. With
    ///     `options.replaceWhenComplete`: the path is that of a folder or a device
    /// @throws FileWriteException with `options.journal`: the system could not write
    /// @throws MiscelleneousException "Unable to open file ...": the system cannot open the file
    ///
    /// After `FileOpenException`, `FileWriteException` and `MiscelleneousException` a write cycle
    /// without a file is open. Call `close` before the next `saveTo`.
    template <class S>
    void saveTo(const S& path, const SaverOptions& options = SaverOptions());

    /// The same for a zero-terminated path, which must not be null.
    /// @tparam CharT `char` or `wchar_t`
    /// @{
    template <class CharT>
    void saveTo(const CharT* const path, const SaverOptions& options = SaverOptions());
    template <class CharT>
    void saveTo(CharT* path, const SaverOptions& options = SaverOptions());
    /// @}

    /// Ends the write cycle: writes all data that is still in memory and the index, and closes the
    /// file. Does nothing if no write cycle is open. There is no current node afterwards.
    ///
    /// After an error the file is unfinished and the write cycle is still open. A second `close`
    /// ends the write cycle without writing. Errors that a network file system or a quota reports
    /// only on `close(2)` are not detected.
    ///
    /// @throws FileWriteException "Unable to write to file" or "Saving the buffer failed": the
    ///     system could not write or seek; with `SaverOptions::replaceWhenComplete` also if it
    ///     could not rename the file
    /// @throws FileOpenException with `SaverOptions::replaceWhenComplete`, "File exists.":
    ///     `overwrite` is false, and a file has appeared at the path since `saveTo`
    /// @throws OverflowError names, attributes or other data of one kind have 2^32 bytes or more
    /// @throws MiscelleneousException "Unable to compress block"
    void close();

    /// Makes everything so far recoverable: however the process ends, `mekrecover` and `recover`
    /// make a complete file of it. Needs `SaverOptions::journal`.
    ///
    /// Compresses and writes the arrays that are still in memory. The time depends on what was
    /// added since the last checkpoint, not on the whole model. The next array starts a new block,
    /// so frequent checkpoints make a larger file. After an error the write cycle can continue; the
    /// next checkpoint writes what is missing.
    ///
    /// @param durability `Durability::Device`: waits until the device has file, journal and folder
    /// @throws InvalidObjectState "File not open.": no write cycle is open, or it has no file;
    ///     "No journal"; "The journal is incomplete": there was no memory to record an earlier
    ///     call. Then earlier checkpoints can be recovered, and `close` still writes everything.
    /// @throws FileWriteException the system could not write
    /// @throws MiscelleneousException "Unable to compress block"
    void checkpoint(Durability durability = Durability::Process);

    /// The path of the temporary file of `SaverOptions::replaceWhenComplete`, in UTF-8; empty if
    /// there is none. A program can remove the file when a signal ends it.
    std::string temporaryPath();

    /// Adds a node below the current node, or the root if there is none yet.
    ///
    /// Names need not be unique. For a shape two nodes are added, the shape and its geometry; the
    /// returned id is that of the geometry, to which `addArrayProperty` attaches arrays. The id of
    /// the shape is one lower. A root shape has no geometry. Attributes of a shape are ignored.
    ///
    /// Afterwards the current node is the one whose id is returned. An error changes nothing.
    ///
    /// @return the new id
    /// @throws InvalidObjectState "File not open.": no write cycle is open
    /// @throws InvalidArguments "Invalid node type for root node"; "Invalid node type"; or an
    ///     attribute that cannot be stored
    /// @throws KeyNotFound a failed `addArrayProperty` has set an unknown id as the current node
    unsigned int addNode(NodeType type, const std::string& name,
                         const Attributes& attributes = emptyAttributes());

    /// Makes `id` the current node. An error changes nothing.
    /// @throws InvalidObjectState "Not initialized": no write cycle is open
    /// @throws OutOfBounds no node has this id
    void setCurrentNodeId(unsigned int id);

    /// Makes the parent of the current node the current node. Does nothing at the root.
    /// @throws InvalidObjectState "Not initialized": no write cycle is open
    /// @throws KeyNotFound a failed `addArrayProperty` has set an unknown id as the current node
    void moveToParentNode();

    /// Finds a node by its path: separator, name of the root, separator, next name, and so on.
    ///
    /// `separator` is one string. The separator after the root's name is not compared: only its
    /// length counts. If several children have the same name, the one that was added first is
    /// found. The path of a geometry is the path of its shape, the separator, and the name of the
    /// shape again.
    ///
    /// Afterwards the current node is the root, even if nothing was found. An empty path does not
    /// change the current node.
    ///
    /// @return the id, or 0 if there is no such node
    /// @throws InvalidObjectState "Not initialized": no write cycle is open
    unsigned int getNodeId(const std::string& path,
                           const std::string& separator = defaultPathSeparator());

    /// The same for a list of the names in the path; the name of the root is the first. No name may
    /// contain the character 0x1E.
    /// @{
    unsigned int getNodeId(const std::vector<std::string>& components);
    unsigned int getNodeId(std::initializer_list<std::string> components);
    /// @}

    /// Deleted: a list of names needs no separator. Without this overload, two string literals in
    /// braces would be the begin and end of one string.
    template <std::size_t N, std::enable_if_t<N == 2, int> = 0>
    unsigned int getNodeId(const char* const (&components)[N],
                           const std::string& separator) = delete;

    /// Sets the placement or attributes of a group, or the material of a shape.
    ///
    /// If `id` is a geometry, the material of its shape is set. Properties are applied in ascending
    /// order of their keys; after an error, those that were applied before are kept. Attributes of
    /// a group are added, and replace those with the same key; attributes of other nodes are
    /// ignored. Values are written at `close`, so the last value of a key is the one in the file.
    ///
    /// Afterwards the current node is `id`, or the shape if `id` is its geometry.
    /// `InvalidArguments` and `TemplateSpecializationNotDefined` change the current node, too; the
    /// other exceptions below change nothing.
    ///
    /// @throws InvalidObjectState "File not open.": no write cycle is open
    /// @throws OutOfBounds no node has this id
    /// @throws InvalidArguments "Invalid property type": the key is for another kind of node;
    ///     "Invalid properties": unknown key; "invalid array size": invalid number of values; or an
    ///     attribute that cannot be stored
    /// @throws TemplateSpecializationNotDefined the value does not have the type of the key
    void setNodeData(unsigned int id, const NodeProperties& properties,
                     const Attributes& attributes = emptyAttributes());

    /// Adds the groups and shapes of a list of paths. Nodes that exist are reused.
    ///
    /// A path starts with the separator and the name of the root. The last name of a path is a
    /// group if the path ends in the separator, otherwise a shape; all names before it are groups.
    /// Every byte of `separator` separates names, so it should be one ASCII character. Empty names
    /// are ignored.
    ///
    /// Afterwards the current node is the last node of the last path that contains a name. After an
    /// error the nodes that were added before are kept.
    ///
    /// @return one id for each path, in the same order: the id of the group, or of the geometry of
    ///     the shape; 1 for the path of the root; 0 for a path without a name
    /// @throws InvalidObjectState "File not open.": no write cycle is open, and the list is not
    ///     empty
    /// @throws InvalidArguments "Relative paths not supported": a path does not start with
    ///     `separator`
    /// @throws NotYetImplemented a path starts with a name other than that of the root
    /// @{
    Array1d<unsigned int> addAssemblyComponents(
        const std::vector<std::string>& paths,
        const std::string& separator = defaultPathSeparator());
    Array1d<unsigned int> addAssemblyComponents(
        std::initializer_list<std::string> paths,
        const std::string& separator = defaultPathSeparator());
    /// @}

    /// The same with attributes for the last group of each path. The ids are in the order of the
    /// map. Attributes are added to those of the group, and replace those with the same key.
    /// Attributes of shapes are ignored.
    /// @throws InvalidArguments also for an attribute that cannot be stored
    /// @{
    Array1d<unsigned int> addAssemblyComponents(
        const std::map<std::string, Attributes>& paths,
        const std::string& separator = defaultPathSeparator());
    Array1d<unsigned int> addAssemblyComponents(
        std::initializer_list<std::pair<const std::string, Attributes>> paths,
        const std::string& separator = defaultPathSeparator());
    /// @}

    /// Writes an array to the file and attaches it as a named variable to geometries, for steps.
    ///
    /// The array is written once. There is one variable for each pair of an id and a step, in the
    /// order of the ids. The first variable is the owner of the array and has the attributes; the
    /// others are links to it. Ids of groups and shapes are ignored.
    ///
    /// The name of a variable is `name`. If the step has a name, the character 0x1E and that name
    /// follow. If the geometry already has a variable with this name, this variable gets the new
    /// array, and the attributes are added to its attributes.
    ///
    /// If the step and the call have an attribute with the same key, that of the call is used. The
    /// keys "Complex", "Contents", "DataSource", "DataType", "Structure" and those that start with
    /// "Link." are not written. "Category" with the string "Vibration" marks the variable as a
    /// vibration.
    ///
    /// If there are no rows or no ids, the call only checks that a write cycle is open and that the
    /// type is valid. Otherwise, if there are steps, the
    /// current node afterwards is the last id. After an error, the variables that were added before
    /// are kept, and the array may be in the file without a variable.
    ///
    /// @warning If the first variable is a link of an earlier call, it stays a link: no variable
    ///     refers to the new array then, and links can form a circle. Use new names, or set
    ///     `SaverOptions::relinkReplaced`.
    ///
    /// @tparam Array `Array1d` or `Array2d` of `float` or `unsigned int`; see `DatasetType` for its
    ///     shape
    /// @tparam Id `unsigned int` or `Array1d<unsigned int>`: ids of geometries
    /// @tparam Steps `Step` or `StepList`
    /// @throws InvalidObjectState "File not open.": no write cycle is open, or it has no file
    /// @throws InvalidArguments "Can't guess result width for specified type": unknown type;
    ///     "Invalid arguments": invalid number of columns, or an attribute that cannot be stored
    /// @throws OverflowError 2^31 or more rows or ids, or an array of 2^32 bytes or more
    /// @throws KeyNotFound no node has one of the ids; the current node is then this unknown id
    /// @throws FileWriteException the system could not write; `close` fails as well unless a later
    ///     call can write the missing bytes
    template <class Array, class Id, class Steps>
    void addArrayProperty(const std::string& name, DatasetType type, const Array& array,
                          const Id& ids, const Steps& steps,
                          const Attributes& attributes = emptyAttributes());

    /// The same with the default name of `type`.
    /// @throws InvalidArguments "Can't guess result name for specified type": there is no default
    template <class Array, class Id, class Steps>
    void addArrayProperty(DatasetType type, const Array& array, const Id& ids, const Steps& steps,
                          const Attributes& attributes = emptyAttributes());

private:
    static const Attributes& emptyAttributes();

    Database* database_;
};

/// True if `Model::addArrayProperty` exists for these argument types.
template <class Array, class Id, class Steps>
inline constexpr bool isArrayPropertyCall = std::conjunction_v<
    std::disjunction<
        std::is_same<Array, Array1d<unsigned int>>, std::is_same<Array, Array1d<float>>,
        std::is_same<Array, Array2d<unsigned int>>, std::is_same<Array, Array2d<float>>>,
    std::disjunction<std::is_same<Id, unsigned int>, std::is_same<Id, Array1d<unsigned int>>>,
    std::disjunction<std::is_same<Steps, Step>, std::is_same<Steps, StepList>>>;

// Calls with unsupported types use these primary templates, which give a readable compile error.
// The library specialises them for the supported types.

template <class S>
void Model::saveTo(const S&, const SaverOptions&) {
    static_assert(std::disjunction_v<std::is_same<S, std::string>, std::is_same<S, std::wstring>>,
                  "Model::saveTo takes a path as std::string, std::wstring, const char* or "
                  "const wchar_t*");
}

template <class CharT>
void Model::saveTo(const CharT* const, const SaverOptions&) {
    static_assert(std::disjunction_v<std::is_same<CharT, char>, std::is_same<CharT, wchar_t>>,
                  "Model::saveTo takes a path as std::string, std::wstring, const char* or "
                  "const wchar_t*");
}

template <class CharT>
void Model::saveTo(CharT* path, const SaverOptions& options) {
    saveTo(static_cast<const CharT*>(path), options);
}

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
#undef TYR_MEK2_FOR_ARRAY_PROPERTIES
#undef TYR_MEK2_FOR_ARRAY

template <>
MEKAPI2_API void Model::saveTo(const std::string& path, const SaverOptions& options);
template <>
MEKAPI2_API void Model::saveTo(const std::wstring& path, const SaverOptions& options);
template <>
MEKAPI2_API void Model::saveTo(const char* const path, const SaverOptions& options);
template <>
MEKAPI2_API void Model::saveTo(const wchar_t* const path, const SaverOptions& options);

} // namespace Tyr::Mek2
