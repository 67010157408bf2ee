/// @file
/// Arrays that are compressed where their values are, and added to a `Model` elsewhere.
///
/// A program whose values are distributed compresses each part at its place and sends the
/// compressed bytes to the process that has the `Model`. With this header
/// `Model::addArrayProperty` accepts a `PackedArray`. `<tyr/mek2/mpi.hpp>` does all this for
/// programs that use MPI.
///
/// @code
/// #include <tyr/mek2/packedarray.hpp>
///
/// int main() {
///     using namespace Tyr::Mek2;
///     const PackedArray first(Array1d<float>{20, 21});
///     const PackedArray second(Array1d<float>{22});
///     Model model;
///     model.saveTo("packed.mek", SaverOptions{true});
///     model.addNode(NodeType::RootGroup, "root");
///     const unsigned int mesh = model.addNode(NodeType::Shape, "line");
///     model.addArrayProperty("Temperature", DatasetType::ResultA1,
///                            PackedArray::concatenate({first, second}), mesh, Step{});
///     model.close();
/// }
/// @endcode
#pragma once

#include <tyr/export.hpp>
#include <tyr/mek2/array.hpp>
#include <tyr/mek2/model.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Tyr::Mek2 {

struct PackedStorage;
struct ValueAccess;

/// A plane of a packed array: the lowest, second, third or highest bytes of all values of one
/// column. Planes are compressed independently.
struct PackedPlane {
    std::uint32_t size = 0;     ///< compressed bytes
    std::uint32_t checksum = 1; ///< Adler-32 of the bytes before compression
};

/// The description of a packed array. It can be sent as it is between processes with the same byte
/// order.
struct PackedHead {
    static constexpr unsigned int largestWidth = 6; ///< columns
    static constexpr unsigned int valueSize = 4;    ///< bytes, and planes of a column

    std::uint64_t rows = 0;        ///< of the array
    std::uint32_t width = 1;       ///< columns
    std::uint32_t elementType = 1; ///< 1: `float`; 5: `unsigned int`

    /// The planes; the first `planeCount()` are used: those of the first column, from the lowest
    /// byte to the highest, then those of the next.
    std::array<PackedPlane, std::size_t{largestWidth} * valueSize> planes{};

    /// Number of planes that are used.
    std::size_t planeCount() const { return std::size_t{width} * valueSize; }
};

/// Rows of `float` or `unsigned int`, compressed. The content never changes; copies share it.
///
/// Different objects may be used from different threads at the same time. All operations that make
/// an array may raise `std::bad_alloc`.
class MEKAPI2_API PackedArray {
public:
    /// No rows.
    PackedArray();

    /// Compresses values, which are not needed afterwards. Meanwhile memory contains the result
    /// twice, and two planes for each running task.
    ///
    /// @param values `rows` x `width`, row by row; may be null if there are none
    /// @param rows may be 0; then the other arguments are not checked
    /// @param width number of columns, 1 to 6
    /// @param compressionLevel of zlib, from 1 (fast) to 9 (small)
    /// @param parallelFor compresses planes on threads of the application; may be empty
    /// @throws InvalidArguments `width` is not 1 to 6, or `compressionLevel` not 1 to 9
    /// @throws OverflowError 2^32 bytes or more
    /// @throws MemoryAllocationException
    /// @{
    PackedArray(const float* values, std::size_t rows, std::size_t width, int compressionLevel = 6,
                const ParallelFor& parallelFor = ParallelFor());
    PackedArray(const unsigned int* values, std::size_t rows, std::size_t width,
                int compressionLevel = 6, const ParallelFor& parallelFor = ParallelFor());
    /// @}

    /// The same for the values of an array.
    /// @{
    template <class T>
    explicit PackedArray(const Array1d<T>& array, int compressionLevel = 6,
                         const ParallelFor& parallelFor = ParallelFor())
        : PackedArray(array.data(), array.size(), 1, compressionLevel, parallelFor) {}
    template <class T>
    explicit PackedArray(const Array2d<T>& array, int compressionLevel = 6,
                         const ParallelFor& parallelFor = ParallelFor())
        : PackedArray(array.data(), array.rows(), array.cols(), compressionLevel, parallelFor) {}
    /// @}

    /// The rows of all parts, in the order of the parts. Parts without rows are ignored.
    /// @throws InvalidArguments "part N of an array differs in width or element type", counted from
    ///     0
    /// @throws OverflowError 2^32 bytes or more
    static PackedArray concatenate(const std::vector<PackedArray>& parts);

    /// This array as bytes. `fromBytes` makes it again, also in another process with the same
    /// version of the library and the same byte order.
    std::string toBytes() const;

    /// Makes the array from the bytes of `toBytes`. Does not verify the compressed bytes.
    /// @throws InvalidArguments "a packed array is invalid": inconsistent sizes
    static PackedArray fromBytes(const std::string& bytes);

    /// The description of this array.
    const PackedHead& head() const;

    /// The compressed bytes, plane by plane; null without rows. Valid while this object or a copy
    /// of it exists.
    const unsigned char* data() const;

    /// Number of compressed bytes.
    std::size_t size() const;

private:
    friend struct ValueAccess;
    friend class PackedAssembly;

    std::shared_ptr<const PackedStorage> data_;
};

/// Joins parts to one array. Each part is received directly at its place, in any order.
class MEKAPI2_API PackedAssembly {
public:
    /// Allocates memory for the parts.
    /// @param parts descriptions of the parts, in the order of their rows
    /// @throws InvalidArguments "part N of an array differs in width or element type", counted from
    ///     0; "a packed array is invalid"
    /// @throws OverflowError 2^32 bytes or more
    explicit PackedAssembly(const std::vector<PackedHead>& parts);
    PackedAssembly(const PackedAssembly&) = delete;
    PackedAssembly& operator=(const PackedAssembly&) = delete;
    ~PackedAssembly();

    /// Where the bytes of a plane of a part belong: `PackedPlane::size` bytes of that part. Valid
    /// until `finish`.
    unsigned char* target(std::size_t part, std::size_t plane);

    /// The array, when the bytes of all parts are at their places. May be called once.
    PackedArray finish();

private:
    friend class PackedStream;

    std::shared_ptr<PackedStorage> whole_;
    std::vector<unsigned char> bytes_;
    std::size_t partCount_;
    std::vector<std::size_t> offsets_; ///< by plane, then part
};

/// Provides the compressed bytes of parts that are elsewhere, such as in other processes.
class PackedSource {
public:
    /// Receives bytes; may throw.
    using Sink = std::function<void(const unsigned char* bytes, std::size_t count)>;

    PackedSource() = default;
    PackedSource(const PackedSource&) = delete;
    PackedSource& operator=(const PackedSource&) = delete;
    virtual ~PackedSource() = default;

    /// Copies the bytes of all parts to their places.
    virtual void load(PackedAssembly& assembly) = 0;

    /// Passes the bytes of all parts to `sink`: the first plane of each part, in the order of the
    /// parts, then the second planes, and so on.
    virtual void read(const Sink& sink) = 0;
};

/// An array whose parts are elsewhere. It may be larger than memory.
///
/// `Model::addArrayProperty` calls one function of the source, once: `read` if the array completes
/// a block, which is then written, and `load` otherwise. It calls none if there are no rows, or
/// if the call fails before. If the source or the file raises an error, the array is not in the
/// file.
class MEKAPI2_API PackedStream {
public:
    /// @param parts descriptions of the parts, in the order of their rows
    /// @param source has the bytes; `parts` and `source` must live as long as this object
    /// @throws InvalidArguments, OverflowError as `PackedAssembly`
    PackedStream(const std::vector<PackedHead>& parts, PackedSource& source);

private:
    friend struct ValueAccess;

    std::shared_ptr<const PackedStorage> data_;
};

#define TYR_MEK2_DECLARE(ARRAY, ID, STEPS)                                                       \
    template <>                                                                                  \
    MEKAPI2_API void Model::addArrayProperty(const std::string&, DatasetType, const ARRAY&,      \
                                             const ID&, const STEPS&, const Attributes&);        \
    template <>                                                                                  \
    MEKAPI2_API void Model::addArrayProperty(DatasetType, const ARRAY&, const ID&, const STEPS&, \
                                             const Attributes&);
TYR_MEK2_DECLARE(PackedArray, unsigned int, Step)
TYR_MEK2_DECLARE(PackedArray, unsigned int, StepList)
TYR_MEK2_DECLARE(PackedArray, Array1d<unsigned int>, Step)
TYR_MEK2_DECLARE(PackedArray, Array1d<unsigned int>, StepList)
TYR_MEK2_DECLARE(PackedStream, unsigned int, Step)
TYR_MEK2_DECLARE(PackedStream, unsigned int, StepList)
TYR_MEK2_DECLARE(PackedStream, Array1d<unsigned int>, Step)
TYR_MEK2_DECLARE(PackedStream, Array1d<unsigned int>, StepList)
#undef TYR_MEK2_DECLARE

} // namespace Tyr::Mek2
