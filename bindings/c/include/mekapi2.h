/// @file
/// The C interface of MekApi2: writes simulation models into one compact file.
///
/// @code
/// #include <mekapi2.h>
///
/// #include <stdio.h>
///
/// int main(void) {
///     const float points[2][3] = {{0, 0, 0}, {1, 0, 0}};
///     uint32_t line = 0;
///     mek_model* model = NULL;
///     int failed = mek_model_create(&model) != MEK_OK ||
///                  mek_save_to(model, "", NULL) != MEK_OK || // no file: the tree only
///                  mek_add_node(model, MEK_ROOT_GROUP, "root", NULL, NULL) != MEK_OK ||
///                  mek_add_node(model, MEK_SHAPE, "line", NULL, &line) != MEK_OK;
///     // without a file, arrays are refused
///     if (!failed && mek_add_array_f32(model, MEK_COORDINATES, points[0], 2, 3, &line, 1, NULL) !=
///                        MEK_INVALID_STATE) {
///         failed = 1;
///     }
///     if (failed) {
///         fprintf(stderr, "%s\n", mek_last_error(model)->message);
///     }
///     mek_model_destroy(model);
///     return failed;
/// }
/// @endcode
///
/// **Errors.** Every call that can fail returns a `mek_status`, and `mek_last_error` has its class,
/// message and location. No C++ exception leaves a call. After an error, an output parameter keeps
/// its value, and the object can be used, closed or destroyed. Any call can return `MEK_MISUSE`,
/// `MEK_NO_MEMORY` and `MEK_ERROR`; the comments give the other errors.
///
/// **Memory.** The library copies what it is given: strings, arrays and values can be changed or
/// freed after each call. Objects are created by `mek_..._create` and freed by `mek_..._destroy`.
/// The caller frees nothing else, and the library frees nothing of the caller.
///
/// **Strings** are zero-terminated UTF-8 and are stored unchanged. A null pointer is an error
/// unless the comment of the call allows it. On Windows, a message that names a path has one byte
/// for each character of the path, and is not UTF-8 if these are not ASCII.
///
/// **Threads.** A call can run at the same time as calls with other objects. Two calls with the
/// same object must not run at the same time, even if one of them only reads it. "Threads: model"
/// means that the call uses its model, and the attributes, properties and options that it is given.
#ifndef MEKAPI2_H
#define MEKAPI2_H

#include <stddef.h>
#include <stdint.h>

/// The version of this header.
/// @{
#define MEK_VERSION_MAJOR 2
#define MEK_VERSION_MINOR 0
#define MEK_VERSION_PATCH 0
/// @}

/// One number for a version. Numbers of later versions are larger.
#define MEK_VERSION_NUMBER(major, minor, patch) (10000 * (major) + 100 * (minor) + (patch))

/// @def MEK_API
/// Marks a function that an application links to. On Windows, define MEKAPI2_STATIC to link the
/// static library.
#if !defined(_WIN32)
#define MEK_API __attribute__((visibility("default")))
#elif defined(MEKAPI2_STATIC)
#define MEK_API
#elif defined(MEKAPI2_C_BUILDING)
#define MEK_API __declspec(dllexport)
#else
#define MEK_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// The version of the library that the program runs with, as `MEK_VERSION_NUMBER`. A program can
/// use a library of the same major version that is not older than the header. Threads: any.
MEK_API int32_t mek_version(void);

/// The same as a string "MAJOR.MINOR.PATCH". Threads: any.
MEK_API const char* mek_version_string(void);

/// Result of a call. The numbers up to 20 are those of the exception classes of the C++ interface.
typedef enum mek_status {
    MEK_OK = 0,                   ///< no error
    MEK_ERROR = 1,                ///< another C++ exception, for example of a callback
    MEK_MISCELLANEOUS = 2,        ///< a file cannot be opened, or a block cannot be compressed
    MEK_INVALID_ARGUMENTS = 3,    ///< an argument does not fit the model
    MEK_FILE_OPEN = 5,            ///< the file or its journal exists, or there is no journal
    MEK_FILE_WRITE = 7,           ///< the system could not write or seek
    MEK_OUT_OF_BOUNDS = 11,       ///< no node has the id
    MEK_OVERFLOW = 12,            ///< a size is too large for the file format
    MEK_KEY_NOT_FOUND = 14,       ///< a look-up found nothing
    MEK_BLOCK_MEMORY = 16,        ///< no memory for a block
    MEK_INVALID_STATE = 17,       ///< the state does not allow the call, for example no open file
    MEK_WRONG_TYPE = 19,          ///< a property has a value of another type
    MEK_NOT_YET_IMPLEMENTED = 20, ///< a path starts with another root
    MEK_MISUSE = 100,             ///< a null pointer, or a structure with an invalid member
    MEK_NO_MEMORY = 101,          ///< no memory
    MEK_VALUE_OUT_OF_RANGE = 102, ///< a value is outside the range that the file can store
    MEK_CALLBACK_FAILED = 103     ///< a callback returned a number other than 0
} mek_status;

/// The name of a status, such as "MEK_OK"; "unknown status" for other numbers. Threads: any.
MEK_API const char* mek_status_name(mek_status status);

/// Writes models, one write cycle after the other: `Tyr::Mek2::Model` of the C++ interface.
typedef struct mek_model mek_model;
/// Named values that describe a group or an array, ordered by the bytes of their keys.
typedef struct mek_attributes mek_attributes;
/// The placement of a group, or the material of a shape.
typedef struct mek_properties mek_properties;
/// Options of a write cycle.
typedef struct mek_options mek_options;

/// What a call reported. Owned by the library.
typedef struct mek_error {
    size_t size;            ///< of this structure in the library; later versions are larger
    mek_status status;      ///< `MEK_OK`: the call succeeded; then all strings are empty
    int system_error;       ///< `errno` of a failed operation on a file, or 0
    int line;               ///< in `file`, or 0
    const char* class_name; ///< class of the C++ exception, such as "InvalidObjectState"
    const char* message;    ///< what was expected or found; at most 1023 bytes
    const char* function;   ///< location in the library: its function; empty if it is not known
    const char* file;       ///< location in the library: its source file; empty if it is not known
} mek_error;

/// Describes the result of the last call with a model.
///
/// - `model`: null: describes the last call of this thread that had no model or a null model
/// @return a description, not null; valid until the next call that it would describe
///
/// Threads: model.
MEK_API const mek_error* mek_last_error(const mek_model* model);

/// @name Values
/// @{

/// Creates an empty list of attributes. Threads: any.
MEK_API mek_status mek_attributes_create(mek_attributes** attributes);

/// Frees the list; a null pointer is ignored. Threads: attributes.
MEK_API void mek_attributes_destroy(mek_attributes* attributes);

/// Removes all attributes, so that the list can be used again. Threads: attributes.
MEK_API mek_status mek_attributes_clear(mek_attributes* attributes);

/// Stores a value under a key. Replaces a value of the same key. The file has the first 256 bytes
/// of a string. It has no signed integers: -1 is read as 4294967295. Threads: attributes.
/// @{
MEK_API mek_status mek_attributes_set_f32(mek_attributes* attributes, const char* key, float value);
MEK_API mek_status mek_attributes_set_i32(mek_attributes* attributes, const char* key,
                                          int32_t value);
MEK_API mek_status mek_attributes_set_u32(mek_attributes* attributes, const char* key,
                                          uint32_t value);
MEK_API mek_status mek_attributes_set_string(mek_attributes* attributes, const char* key,
                                             const char* value);
/// @}

/// Key of a property, one of the following. Enumerated arguments are numbers of 32 bits, so that a
/// program can pass a number of a later version of the library.
typedef int32_t mek_property_type;
/// Keys 0 to 2 are for groups, the others for shapes. A point is scaled first, then rotated, then
/// translated. Channels of colours are red, green, blue, from 0 to 1.
enum {
    MEK_TRANSLATION = 0,       ///< 3 floats: x, y, z
    MEK_ROTATION = 1,          ///< 4 floats: axis x, y, z and angle in radians
    MEK_SCALE = 2,             ///< 3 floats: factors for x, y, z
    MEK_DIFFUSE_COLOR = 3,     ///< 3 or 4 floats; the fourth is not used
    MEK_SPECULAR_COLOR = 4,    ///< 3 or 4 floats; the fourth is not used
    MEK_EMISSIVE_COLOR = 5,    ///< 3 floats
    MEK_AMBIENT_COLOR = 6,     ///< 3 floats
    MEK_TRANSPARENCY = 7,      ///< a float
    MEK_AMBIENT_INTENSITY = 8, ///< a float; ambient colour := intensity x diffuse colour
    MEK_SHININESS = 9,         ///< a float
    MEK_MATERIAL_FLAG = 10     ///< a bool
};

/// Creates an empty list of properties. Threads: any.
MEK_API mek_status mek_properties_create(mek_properties** properties);

/// Frees the list; a null pointer is ignored. Threads: properties.
MEK_API void mek_properties_destroy(mek_properties* properties);

/// Stores a value under a key. Replaces a value of the same key, whatever its type.
/// `mek_set_node_data` checks whether the value fits the key. `values` may be null if `count` is 0.
/// Threads: properties.
/// @{
MEK_API mek_status mek_properties_set_bool(mek_properties* properties, mek_property_type type,
                                           int value);
MEK_API mek_status mek_properties_set_f32(mek_properties* properties, mek_property_type type,
                                          float value);
MEK_API mek_status mek_properties_set_f32_array(mek_properties* properties, mek_property_type type,
                                                const float* values, size_t count);
MEK_API mek_status mek_properties_set_i32(mek_properties* properties, mek_property_type type,
                                          int32_t value);
MEK_API mek_status mek_properties_set_i32_array(mek_properties* properties, mek_property_type type,
                                                const int32_t* values, size_t count);
MEK_API mek_status mek_properties_set_string(mek_properties* properties, mek_property_type type,
                                             const char* value);
/// @}
/// @}

/// @name Options of a write cycle
/// @{

/// A task of the library: call it as `task(data, index)`. It never fails.
typedef void (*mek_task)(void* data, size_t index);

/// Calls `task(data, 0)` to `task(data, count - 1)`, each once, in any order and on any threads of
/// the application, and returns when no task is running any more.
///
/// - `context`: the pointer that was passed to `mek_options_set_parallel_for`
/// @return 0; another number ends the call of the library with `MEK_CALLBACK_FAILED`. If it returns
///     0 and has skipped a task, the error is `MEK_MISCELLANEOUS`.
typedef int (*mek_parallel_for)(void* context, size_t count, mek_task task, void* data);

/// Creates options with the defaults given below. Threads: any.
MEK_API mek_status mek_options_create(mek_options** options);

/// Frees the options; a null pointer is ignored. Threads: options.
MEK_API void mek_options_destroy(mek_options* options);

/// 0, the default: an existing file is an error. Not 0: it is replaced. Threads: options.
MEK_API mek_status mek_options_set_overwrite(mek_options* options, int overwrite);

/// Name and version of the writing program. By default both are empty, and none is written.
/// Threads: options.
MEK_API mek_status mek_options_set_tool(mek_options* options, const char* name,
                                        const char* version);

/// What happens if the first variable of a call of `mek_add_array_...` is a link of an earlier
/// call. 0, the default: it stays a link, and no variable refers to the new array. Not 0: it
/// becomes the owner of the new array. Threads: options.
MEK_API mek_status mek_options_set_relink_replaced(mek_options* options, int relink_replaced);

/// Not 0: a second file NAME.journal records the write cycle, so that `mek_checkpoint` can be
/// called, and `mek_recover` makes a complete file after the process was killed. Default: 0.
/// Threads: options.
MEK_API mek_status mek_options_set_journal(mek_options* options, int journal);

/// Not 0: the file is written under a temporary name in the same folder, and `mek_close` renames
/// it. Until then an existing file is unchanged. Default: 0. Threads: options.
MEK_API mek_status mek_options_set_replace_when_complete(mek_options* options,
                                                         int replace_when_complete);

/// Compresses blocks in chunks, and calls this function to run the tasks on threads of the
/// application. The bytes of the file do not depend on the number of threads. They differ from
/// those without this option; the content is the same. Null, the default: no chunks. Cancels an
/// earlier `mek_options_set_threads`. The function and `context` must be valid until the write
/// cycle ends. Threads: options.
MEK_API mek_status mek_options_set_parallel_for(mek_options* options, mek_parallel_for function,
                                                void* context);

/// The same with `threads` threads: the calling one, and others that end before the call returns.
/// 0: one per processor. Cancels an earlier `mek_options_set_parallel_for`. Threads: options.
MEK_API mek_status mek_options_set_threads(mek_options* options, uint32_t threads);

/// Size in bytes at which a block of arrays ends. 0, the default: the value of the environment
/// variable MEKWRITER_DEFAULT_BLOCK_SIZE, or 200 MiB. Threads: options.
MEK_API mek_status mek_options_set_block_size(mek_options* options, uint32_t block_size);

/// From 1 (fast) to 9 (small). Default: 6. Threads: options.
MEK_API mek_status mek_options_set_compression_level(mek_options* options, int compression_level);
/// @}

/// @name Write cycle
/// @{

/// Creates a model without an open write cycle. Threads: any.
MEK_API mek_status mek_model_create(mek_model** model);

/// Ends an open write cycle like `mek_close`, discards its errors and frees the model. With
/// `mek_options_set_replace_when_complete` only `mek_close` completes the file; this call removes
/// the temporary file, unless there is a journal. A null pointer is ignored. Threads: model.
MEK_API void mek_model_destroy(mek_model* model);

/// Starts a write cycle: creates the file and writes its first bytes. The tree is empty; the first
/// `mek_add_node` adds the root. With an empty path there is no file: the tree can be built, and
/// arrays are refused. Each call seeds `rand` of the process with 0. Threads: model.
///
/// - `path`: on Windows, valid UTF-8
/// - `options`: null: the defaults; can be freed after the call
/// @retval MEK_INVALID_STATE a write cycle is open; it is not changed
/// @retval MEK_FILE_OPEN the file exists, and `overwrite` is 0; or its journal exists or cannot be
///     created; or the path cannot be replaced
/// @retval MEK_FILE_WRITE with a journal: the system could not write
/// @retval MEK_MISCELLANEOUS the system cannot open the file
/// @retval MEK_INVALID_ARGUMENTS the compression level is invalid
///
/// After `MEK_FILE_OPEN`, `MEK_FILE_WRITE` and `MEK_MISCELLANEOUS`, a write cycle without a file is
/// open: call `mek_close` before the next `mek_save_to`.
MEK_API mek_status mek_save_to(mek_model* model, const char* path, const mek_options* options);

/// Ends the write cycle: writes all data that is still in memory and the index, and closes the
/// file. Does nothing if no write cycle is open. After an error the file is unfinished and the
/// write cycle is open; a second call ends it without writing. Threads: model.
///
/// @retval MEK_FILE_WRITE the system could not write or seek
/// @retval MEK_FILE_OPEN with `mek_options_set_replace_when_complete`: a file has appeared at the
///     path, and `overwrite` is 0
/// @retval MEK_OVERFLOW names, attributes or other data of one kind have 2^32 bytes or more
/// @retval MEK_MISCELLANEOUS a block cannot be compressed
/// @retval MEK_BLOCK_MEMORY no memory for a block
MEK_API mek_status mek_close(mek_model* model);

/// The events after which a checkpoint can be recovered.
typedef int32_t mek_durability;
/// Values of `mek_durability`.
enum {
    MEK_DURABILITY_PROCESS = 0, ///< any end of the process
    MEK_DURABILITY_DEVICE = 1   ///< also a power failure: waits for the device
};

/// Makes everything so far recoverable, however the process ends: `mek_recover` or the program
/// mekrecover makes a complete file of it. Needs `mek_options_set_journal`. The time depends on
/// what was added since the last checkpoint. After an error the write cycle can continue. Threads:
/// model.
///
/// @retval MEK_INVALID_STATE no file is open; there is no journal; or the journal is incomplete,
///     because there was no memory to record a call
/// @retval MEK_FILE_WRITE the system could not write
/// @retval MEK_INVALID_ARGUMENTS unknown durability
/// @retval MEK_MISCELLANEOUS a block cannot be compressed
/// @retval MEK_BLOCK_MEMORY no memory for a block
MEK_API mek_status mek_checkpoint(mek_model* model, mek_durability durability);

/// The path of the temporary file of `mek_options_set_replace_when_complete`, or an empty string.
/// A program can remove the file when a signal ends it. Threads: model.
///
/// - `path` (output): valid until the next call of this function or the end of the model
MEK_API mek_status mek_temporary_path(mek_model* model, const char** path);
/// @}

/// @name Tree
/// Every node has an id. The root has the id 1; the others count from 2 in the order of their
/// creation. No node has the id 0. `mek_add_node` adds below the current node.
/// @{

/// What `mek_add_node` adds.
typedef int32_t mek_node_type;
/// Values of `mek_node_type`.
enum {
    MEK_FLAGGED_ROOT_GROUP = 1, ///< root only: a group whose root flag is set
    MEK_ROOT_GROUP = 2,         ///< root only: a group
    MEK_GROUP = 3,              ///< a group, as the root or below it
    MEK_SHAPE = 4               ///< a shape; below the root it gets a geometry of the same name
};

/// Adds a node below the current node, or the root if there is none yet. It becomes the current
/// node. For a shape two nodes are added, the shape and its geometry; `id` is that of the geometry,
/// to which arrays are added, and the id of the shape is one lower. A root shape has no geometry.
/// An error changes nothing. Threads: model.
///
/// - `attributes`: of a group; those of a shape are ignored; may be null
/// - `id` (output): may be null
/// @retval MEK_INVALID_STATE no write cycle is open
/// @retval MEK_INVALID_ARGUMENTS invalid type of node
/// @retval MEK_KEY_NOT_FOUND a failed `mek_add_array_...` has made an unknown id the current node
MEK_API mek_status mek_add_node(mek_model* model, mek_node_type type, const char* name,
                                const mek_attributes* attributes, uint32_t* id);

/// Makes `id` the current node. An error changes nothing. Threads: model.
/// @retval MEK_INVALID_STATE no write cycle is open
/// @retval MEK_OUT_OF_BOUNDS no node has this id
MEK_API mek_status mek_set_current_node_id(mek_model* model, uint32_t id);

/// Makes the parent of the current node the current node. Does nothing at the root. Threads: model.
/// @retval MEK_INVALID_STATE no write cycle is open
/// @retval MEK_KEY_NOT_FOUND a failed `mek_add_array_...` has made an unknown id the current node
MEK_API mek_status mek_move_to_parent_node(mek_model* model);

/// Finds a node by its path: separator, name of the root, separator, next name, and so on. Of
/// children with the same name, the one that was added first is found. The path of a geometry is
/// the path of its shape, the separator, and the name of the shape again. Afterwards the root is
/// the current node; an empty path does not change it. Threads: model.
///
/// - `separator`: null: "/"
/// - `id` (output): 0 if there is no such node
/// @retval MEK_INVALID_STATE no write cycle is open
MEK_API mek_status mek_get_node_id(mek_model* model, const char* path, const char* separator,
                                   uint32_t* id);

/// The same for a path of `count` names; the first is that of the root. No name may contain the
/// character 0x1E. Threads: model.
MEK_API mek_status mek_get_node_id_of_names(mek_model* model, const char* const* names,
                                            size_t count, uint32_t* id);

/// Sets the placement or attributes of a group, or the material of a shape; for a geometry, that of
/// its shape. Properties are applied in ascending order of their keys; after an error, those that
/// were applied before are kept. Attributes of a group are added, and replace those with the same
/// key; attributes of other nodes are ignored. Afterwards `id` is the current node, or the shape if
/// `id` is its geometry. Threads: model.
///
/// - `properties`: may be null
/// - `attributes`: may be null
/// @retval MEK_INVALID_STATE no write cycle is open
/// @retval MEK_OUT_OF_BOUNDS no node has this id
/// @retval MEK_INVALID_ARGUMENTS a key is unknown or for another kind of node, or a property has an
///     invalid number of values
/// @retval MEK_WRONG_TYPE a property does not have the type of its key
MEK_API mek_status mek_set_node_data(mek_model* model, uint32_t id,
                                     const mek_properties* properties,
                                     const mek_attributes* attributes);

/// Adds the groups and shapes of a list of paths. Nodes that exist are reused.
///
/// A path starts with the separator and the name of the root. Its last name is a group if the path
/// ends in the separator, otherwise a shape; all names before it are groups. Every byte of
/// `separator` separates names. Empty names are ignored. Afterwards the current node is the last
/// node of the last path that contains a name. After an error the nodes that were added before are
/// kept. Threads: model.
///
/// - `separator`: null: "/"
/// - `ids` (output): for each path, the id of the group or of the geometry of the shape; 0 for a
///   path without a name; may be null
/// @retval MEK_INVALID_STATE no write cycle is open
/// @retval MEK_INVALID_ARGUMENTS a path does not start with the separator
/// @retval MEK_NOT_YET_IMPLEMENTED a path starts with a name other than that of the root
MEK_API mek_status mek_add_assembly_components(mek_model* model, const char* const* paths,
                                               size_t count, const char* separator, uint32_t* ids);

/// The same with attributes for the last group of each path. The paths are added in ascending order
/// of their bytes; `ids` is in the order of `paths`. Threads: model.
///
/// - `attributes`: one pointer for each path, which may be null; added to those of the group
/// @retval MEK_INVALID_ARGUMENTS also for a path that is given twice
MEK_API mek_status mek_add_assembly_components_with_attributes(
    mek_model* model, const char* const* paths, const mek_attributes* const* attributes,
    size_t count, const char* separator, uint32_t* ids);
/// @}

/// @name Arrays
/// @{

/// The type of an array. It determines the number of columns, the default name of the variable, and
/// its type in the file.
typedef int32_t mek_dataset_type;
/// Values of `mek_dataset_type`. The last digit of a mesh type is 0 for lines, 1 for surfaces, 2
/// for solids. The letter of a result type is A for values at nodes, B for values of elements; its
/// digit is the number of columns: 1 for a scalar, 3 for a vector, 6 for a symmetric tensor (xx,
/// yy, zz, xy, yz, xz). C, D and types that end in B have no fixed meaning. Results have no default
/// name.
enum {
    MEK_CONNECTIVITY_0 = 0, ///< 1 column, "Connectivity": row numbers of the nodes, from 0
    MEK_CONNECTIVITY_1 = 1,
    MEK_CONNECTIVITY_2 = 2,
    MEK_POLYLENGTH_0 = 3, ///< 1 column, "Polylength": number of nodes of each element
    MEK_POLYLENGTH_1 = 4,
    MEK_POLYLENGTH_2 = 5,
    MEK_PART_ELEMENTS_0 = 6, ///< 1 column, "Part Elements"
    MEK_PART_ELEMENTS_1 = 7,
    MEK_PART_ELEMENTS_2 = 8,
    MEK_COORDINATES = 9, ///< 3 columns, "Coordinates"
    MEK_RESULT_A1 = 10,
    MEK_RESULT_A3 = 11,
    MEK_RESULT_A6 = 12,
    MEK_RESULT_A6B = 13,
    MEK_RESULT_B1 = 14,
    MEK_RESULT_B3 = 15,
    MEK_RESULT_B6 = 16,
    MEK_RESULT_B6B = 17,
    MEK_RESULT_C1 = 18,
    MEK_RESULT_C3 = 19,
    MEK_RESULT_C6 = 20,
    MEK_RESULT_C6B = 21,
    MEK_RESULT_D1 = 22,
    MEK_RESULT_D1B = 23,
    MEK_RESULT_D3 = 24,
    MEK_RESULT_D6 = 25,
    MEK_RESULT_D6B = 26,
    MEK_NODE_IDS = 27,       ///< 1 column, "Node Ids"
    MEK_ELEMENT_IDS = 28,    ///< 1 column, "Element IDs"
    MEK_DISPLACEMENT_3 = 29, ///< 3 columns, "Displacement"
    MEK_DISPLACEMENT_6 = 30  ///< 6 columns, "Displacement"
};

/// A time step, load step or mode to which an array belongs.
typedef struct mek_step {
    const char* name; ///< becomes part of the name of the variable; empty or null: no step
    const mek_attributes* attributes; ///< added to those of the array; may be null
} mek_step;

/// Options of a call of `mek_add_array_...`. Later versions add members at the end.
typedef struct mek_array_options {
    size_t size;                      ///< `sizeof(mek_array_options)`, at most 1024
    const char* name;                 ///< of the variable; null: the default name of the type
    const mek_step* steps;            ///< null, with a `step_count` of 0: one step without a name
    size_t step_count;                ///< number of `steps`
    const mek_attributes* attributes; ///< of the variable; may be null
    ptrdiff_t row_stride;    ///< bytes from a value to that of the next row; 0: rows without gaps
    ptrdiff_t column_stride; ///< bytes from a value to that of the next column; 0: without gaps
    int32_t base;            ///< subtracted from integers: 1 if they count from 1; else 0
    int32_t reserved;        ///< 0
} mek_array_options;

/// Initialises a `mek_array_options` with the defaults.
#define MEK_ARRAY_OPTIONS_INIT \
    { sizeof(mek_array_options), NULL, NULL, 0, NULL, 0, 0, 0, 0 }

/// Writes an array to the file and attaches it as a named variable to geometries, for steps.
///
/// The array is written once. There is one variable for each pair of an id and a step, in the order
/// of the ids. The first variable is the owner of the array and has the attributes; the others are
/// links to it. Ids of groups and shapes are ignored. If the geometry already has a variable of
/// this name and step, it gets the new array. If the first variable is already a link, it stays a
/// link, and no variable refers to the new array; see `mek_options_set_relink_replaced`. If step
/// and array have an attribute with the same key, that of the array is used. The keys "Complex",
/// "Contents", "DataSource", "DataType", "Structure" and those that start with "Link." are not
/// written. "Category" with the string "Vibration" marks the variable as a vibration.
///
/// If there are no rows or no ids, nothing is written. Otherwise the last id is the current
/// node afterwards. After an error, the variables that were added before are kept, and the array
/// may be in the file without a variable. Threads: model.
///
/// - `f32` writes floats.
/// - `u32` writes unsigned integers.
/// - `i32` writes unsigned integers. A negative value, after `base` is subtracted, is an error.
/// - `f64` writes floats, rounded to the nearest.
///
/// - `values`: `rows` x `columns` values: row i and column j is at `i * row_stride + j *
///   column_stride` bytes from `values`. They need no alignment. May be null if there are no
///   rows.
/// - `ids`: of `id_count` geometries; may be null if `id_count` is 0
/// - `options`: null: the defaults
/// @retval MEK_INVALID_STATE no write cycle is open, or it has no file
/// @retval MEK_INVALID_ARGUMENTS unknown type, invalid number of columns, or no name for a result
/// @retval MEK_OVERFLOW 2^31 or more rows, columns or ids, or an array of 2^32 bytes or more
/// @retval MEK_KEY_NOT_FOUND no node has one of the ids; the current node is then this unknown id
/// @retval MEK_VALUE_OUT_OF_RANGE an integer is out of range after `base` is subtracted; nothing is
///     written
/// @retval MEK_FILE_WRITE the system could not write; `mek_close` fails as well unless a later call
///     can write the missing bytes
/// @retval MEK_MISCELLANEOUS a block cannot be compressed
/// @retval MEK_BLOCK_MEMORY no memory for a block
/// @{
MEK_API mek_status mek_add_array_f32(mek_model* model, mek_dataset_type type, const float* values,
                                     size_t rows, size_t columns, const uint32_t* ids,
                                     size_t id_count, const mek_array_options* options);
MEK_API mek_status mek_add_array_u32(mek_model* model, mek_dataset_type type,
                                     const uint32_t* values, size_t rows, size_t columns,
                                     const uint32_t* ids, size_t id_count,
                                     const mek_array_options* options);
MEK_API mek_status mek_add_array_i32(mek_model* model, mek_dataset_type type, const int32_t* values,
                                     size_t rows, size_t columns, const uint32_t* ids,
                                     size_t id_count, const mek_array_options* options);
/// @}

/// The same for doubles. Threads: model.
///
/// - `out_of_range` (output): number of finite values that are too large for a float; they are
///   written as infinite. Null: such a value is an error, and nothing is written.
/// @retval MEK_VALUE_OUT_OF_RANGE a value is out of range, and `out_of_range` is null
MEK_API mek_status mek_add_array_f64(mek_model* model, mek_dataset_type type, const double* values,
                                     size_t rows, size_t columns, const uint32_t* ids,
                                     size_t id_count, const mek_array_options* options,
                                     size_t* out_of_range);
/// @}

/// @name Recovery
/// @{

/// A part of what a journal records.
typedef struct mek_recovery_amount {
    uint64_t calls;  ///< calls that changed the model, arrays included
    uint64_t arrays; ///< calls that added an array
    uint64_t steps;  ///< different step names; in `lost`, those without a saved array
    uint64_t bytes;  ///< of the arrays, before compression
} mek_recovery_amount;

/// The result of a recovery. Later versions add members at the end.
typedef struct mek_recovery_report {
    size_t size;               ///< `sizeof(mek_recovery_report)`, set by the caller
    mek_recovery_amount saved; ///< in the output
    mek_recovery_amount lost;  ///< recorded, but not saved
    char reason[256];          ///< why something is lost; empty if nothing is
} mek_recovery_report;

/// Receives the path of a temporary file.
typedef void (*mek_temporary_file)(void* context, const char* path);

/// Makes a complete file from an unfinished one and its journal. The input is not changed, and can
/// belong to a write cycle that is still open. Threads: any.
///
/// - `unfinished`: path that was passed to `mek_save_to`, that of the journal, or that of the
///   temporary file
/// - `output`: path of the new file, which is written under a temporary name and then renamed
/// - `overwrite`: 0: an existing `output` is an error
/// - `on_temporary_file`: may be null; called once with the path of the temporary file and
///   `context`, so that a signal handler can remove the file
/// - `report` (output): may be null
/// @retval MEK_FILE_OPEN there is no journal, an input cannot be opened, or `output` exists
/// @retval MEK_INVALID_ARGUMENTS the files do not belong together, or the model file is complete
/// @retval MEK_MISCELLANEOUS the output cannot be created
/// @retval MEK_FILE_WRITE the system could not write the output
MEK_API mek_status mek_recover(const char* unfinished, const char* output, int overwrite,
                               mek_temporary_file on_temporary_file, void* context,
                               mek_recovery_report* report);
/// @}

#ifdef __cplusplus
}
#endif

#endif // MEKAPI2_H
