/// @file
/// `ParallelModel`, with which the ranks of an MPI program write one file.
///
/// The component Mpi of the CMake package, target `MekApi2::Mpi`; in pkg-config, `mekapi2-mpi`.
///
/// @code
/// #include <tyr/mek2/mpi.hpp>
///
/// int main(int argc, char** argv) {
///     MPI_Init(&argc, &argv);
///     {
///         using namespace Tyr::Mek2;
///         ParallelModel model(MPI_COMM_WORLD);
///         model.saveTo("ranks.mek", SaverOptions{true});
///         model.addNode(NodeType::RootGroup, "root");
///         const unsigned int mesh = model.addNode(NodeType::Shape, "line");
///         Array2d<float> node(1, 3); // of this rank
///         node(0, 0) = static_cast<float>(model.rank());
///         model.addArrayProperty(DatasetType::Coordinates, node, mesh, Step{});
///         model.close();
///     }
///     MPI_Finalize();
/// }
/// @endcode
#pragma once

#include <tyr/mek2/model.hpp>

#include <mpi.h>
#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>

#include <cstddef>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Tyr::Mek2 {

class PackedArray;

/// The rank on which an error occurred, attached to the exception on all ranks; read it with
/// `boost::get_error_info<FailedRank>(error)`.
using FailedRank = boost::error_info<struct FailedRankTag, int>;

/// Writes models like `Model`, from all ranks of a communicator.
///
/// All operations are collective: each rank calls the same ones in the same order, construction and
/// destruction included. Rank 0 owns the `Model` and the file. An operation returns the result that
/// `Model` documents, on all ranks.
///
/// All arguments must be equal on all ranks, except:
/// - the rows of an array. Each rank gives its own, or none; the array of the file has the rows of
///   rank 0, then those of rank 1, and so on. Each rank compresses its rows and sends them to rank
///   0, which adds the compressed bytes to the file. Connectivity and ids of nodes refer to the
///   array of all ranks.
/// - `SaverOptions::parallelFor`. Each rank compresses with its own function.
///
/// An array of all ranks must be below 2^32 bytes, like every array of the file.
///
/// Errors are collective. What is raised on one rank is raised on all, with the same class; the
/// message begins with "rank N: ", and `FailedRank` is attached. If several ranks fail, the error
/// of the lowest rank is raised, unless one destroyed its model. The model can be used afterwards
/// as documented at `Model`. Exceptions of other libraries become `MiscelleneousException`.
/// `std::bad_alloc` becomes `MemoryAllocationException`. Different calls or different arguments are
/// an error, too: `InvalidArguments`. From the next call on, the calls must be equal again.
///
/// If one rank destroys the object while others call an operation, for example because an exception
/// of the application ends the function that owns it, `InvalidObjectState` "rank N: the model was
/// destroyed" is raised on the others. The object cannot be used afterwards.
///
/// Each rank needs memory for two copies of its compressed rows. Rank 0 also needs memory for
/// the arrays of a block up to its limit, compressed; for one compressed plane of another rank; and
/// some 500 bytes for each rank. An array that completes a block is written while it is received.
/// Each rank waits until rank 0 has added the array.
///
/// The object has a private communicator. Errors of MPI itself end the program. MPI must be
/// initialised before; the object must be destroyed before `MPI_Finalize`. One thread at a time may
/// use it. `MPI_THREAD_FUNNELED` is enough if this is the main thread; tasks of `parallelFor` call
/// no function of MPI.
class ParallelModel {
public:
    /// No write cycle is open.
    /// @param communicator an intracommunicator, which is duplicated
    /// @throws InvalidObjectState "MPI is not initialised", or it has ended
    /// @throws InvalidArguments "not an intracommunicator", also for `MPI_COMM_NULL`
    explicit ParallelModel(MPI_Comm communicator);

    /// Ends an open write cycle like the destructor of `Model`.
    ~ParallelModel();

    ParallelModel(const ParallelModel&) = delete;
    ParallelModel& operator=(const ParallelModel&) = delete;

    /// The number of this rank, and the number of ranks. Not collective.
    /// @{
    int rank() const;
    int size() const;
    /// @}

    /// The operations of `Model`.
    /// @{
    void saveTo(const std::string& path, const SaverOptions& options = SaverOptions());
    void close();
    void checkpoint(Durability durability = Durability::Process);
    std::string temporaryPath();
    unsigned int addNode(NodeType type, const std::string& name,
                         const Attributes& attributes = emptyAttributes());
    void setCurrentNodeId(unsigned int id);
    void moveToParentNode();
    unsigned int getNodeId(const std::string& path,
                           const std::string& separator = Model::defaultPathSeparator());
    unsigned int getNodeId(const std::vector<std::string>& components);
    unsigned int getNodeId(std::initializer_list<std::string> components);
    template <std::size_t N, std::enable_if_t<N == 2, int> = 0>
    unsigned int getNodeId(const char* const (&components)[N],
                           const std::string& separator) = delete;
    void setNodeData(unsigned int id, const NodeProperties& properties,
                     const Attributes& attributes = emptyAttributes());
    Array1d<unsigned int> addAssemblyComponents(
        const std::vector<std::string>& paths,
        const std::string& separator = Model::defaultPathSeparator());
    Array1d<unsigned int> addAssemblyComponents(
        std::initializer_list<std::string> paths,
        const std::string& separator = Model::defaultPathSeparator());
    Array1d<unsigned int> addAssemblyComponents(
        const std::map<std::string, Attributes>& paths,
        const std::string& separator = Model::defaultPathSeparator());
    Array1d<unsigned int> addAssemblyComponents(
        std::initializer_list<std::pair<const std::string, Attributes>> paths,
        const std::string& separator = Model::defaultPathSeparator());
    /// @}

    /// Writes the array that consists of the rows of all ranks; see `Model::addArrayProperty`. A
    /// rank without rows may pass an array with any number of columns.
    /// @throws InvalidArguments also if the ranks have different numbers of columns
    /// @{
    template <class Array, class Id, class Steps>
    void addArrayProperty(const std::string& name, DatasetType type, const Array& array,
                          const Id& ids, const Steps& steps,
                          const Attributes& attributes = emptyAttributes()) {
        checkTypes<Array, Id, Steps>();
        addRows(&name, type, rowsOf(array), idsOf(ids), stepsOf(steps), attributes);
    }
    template <class Array, class Id, class Steps>
    void addArrayProperty(DatasetType type, const Array& array, const Id& ids, const Steps& steps,
                          const Attributes& attributes = emptyAttributes()) {
        checkTypes<Array, Id, Steps>();
        addRows(nullptr, type, rowsOf(array), idsOf(ids), stepsOf(steps), attributes);
    }
    /// @}

private:
    /// Of this rank; one of the pointers is null.
    struct Rows {
        const float* floats;
        const unsigned int* integers;
        std::size_t rows;
        std::size_t width;
        bool isInteger;
    };

    template <class Array, class Id, class Steps>
    static void checkTypes() {
        static_assert(isArrayPropertyCall<Array, Id, Steps>,
                      "ParallelModel::addArrayProperty takes an Array1d or Array2d of float or "
                      "unsigned int, an id (unsigned int) or Array1d<unsigned int> of ids, and a "
                      "Step or StepList");
    }

    static Rows rowsOf(const Array1d<float>& array) {
        return {array.data(), nullptr, array.size(), 1, false};
    }
    static Rows rowsOf(const Array1d<unsigned int>& array) {
        return {nullptr, array.data(), array.size(), 1, true};
    }
    static Rows rowsOf(const Array2d<float>& array) {
        return {array.data(), nullptr, array.rows(), array.cols(), false};
    }
    static Rows rowsOf(const Array2d<unsigned int>& array) {
        return {nullptr, array.data(), array.rows(), array.cols(), true};
    }

    // References to arguments: a copy could fail on one rank alone.

    struct Ids {
        const unsigned int* values;
        std::size_t count;
    };
    /// One of the pointers is null.
    struct Steps {
        const Step* single;
        const StepList* list;
    };

    static Ids idsOf(const unsigned int& id) { return {&id, 1}; }
    static Ids idsOf(const Array1d<unsigned int>& ids) { return {ids.data(), ids.size()}; }
    static Steps stepsOf(const Step& step) { return {&step, nullptr}; }
    static Steps stepsOf(const StepList& steps) { return {nullptr, &steps}; }

    class Implementation;

    static const Attributes& emptyAttributes();
    static PackedArray packed(const Rows& rows, const Implementation& options);
    void addRows(const std::string* name, DatasetType type, const Rows& rows, const Ids& ids,
                 const Steps& steps, const Attributes& attributes);

    std::unique_ptr<Implementation> implementation_;
};

} // namespace Tyr::Mek2
