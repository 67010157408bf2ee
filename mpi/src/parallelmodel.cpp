#include <tyr/mek2/mpi.hpp>
#include <tyr/mek2/packedarray.hpp>

#include "communicator.hpp"
#include "digest.hpp"

#include "tyr/exception/raise.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <tuple>
#include <vector>

namespace Tyr::Mek2 {

namespace {

enum class Operation : std::uint64_t {
    Destroy = 1,
    SaveTo,
    Close,
    Checkpoint,
    TemporaryPath,
    AddNode,
    SetCurrentNodeId,
    MoveToParentNode,
    GetNodeId,
    SetNodeData,
    AddComponents,
    AddArray
};

constexpr std::size_t mostPlanes = std::tuple_size_v<decltype(PackedHead::planes)>;
static_assert(mostPlanes <= Transfer::mostAreas);

/// Moves the parts of one array to rank 0.
class Gathering : public PackedSource {
public:
    explicit Gathering(Communicator& communicator) : communicator_(communicator) {}

    /// Compresses the rows of this rank and takes the memory for the descriptions of all parts. Not
    /// collective.
    template <class Pack>
    void prepare(const Pack& pack) {
        part_ = pack();
        if (communicator_.isRoot()) {
            const auto ranks = static_cast<std::size_t>(communicator_.size());
            heads_.resize(ranks);
            requests_.resize(ranks, MPI_REQUEST_NULL);
        }
    }

    /// Calls `add` with the array on rank 0. Collective.
    /// @throws what `add` raises, and the errors of `PackedStream`
    template <class Add>
    void run(const Add& add) {
        communicator_.gather(&part_.head(), sizeof(PackedHead), heads_.data());
        Failure failure;
        if (communicator_.isRoot()) {
            failure = failureOf([&] { add(PackedStream(heads_, *this)); });
            if (way_ == Way::None) { // nothing was read
                announce(Way::None);
            }
        } else {
            announce(Way::None);
            send();
        }
        communicator_.agreeWithRoot(failure);
    }

private:
    enum class Way : int {
        None,
        Whole, ///< one message from each rank
        Planes ///< a message for each plane from each rank, in the order of the file
    };

    /// Sends the way from rank 0 to all.
    void announce(Way way) {
        way_ = way;
        communicator_.broadcast(way_);
    }

    void load(PackedAssembly& assembly) override {
        announce(Way::Whole);
        Transfer transfer(communicator_, requests_);
        for (std::size_t rank = 1; rank < heads_.size(); ++rank) {
            const PackedHead& head = heads_[rank];
            std::array<Transfer::Area, mostPlanes> areas;
            for (std::size_t plane = 0; plane < head.planeCount() && head.rows != 0; ++plane) {
                areas[plane] = {assembly.target(rank, plane), head.planes[plane].size};
            }
            if (head.rows != 0) {
                transfer.receive(static_cast<int>(rank), areas.data(), head.planeCount());
            }
        }
        const unsigned char* own = part_.data();
        for (std::size_t plane = 0; own != nullptr && plane < heads_[0].planeCount(); ++plane) {
            const std::size_t size = heads_[0].planes[plane].size;
            std::copy_n(own, size, assembly.target(0, plane));
            own += size;
        }
        transfer.finish();
        part_ = PackedArray();
    }

    /// A small array is received as a whole, since this needs fewer messages.
    void read(const Sink& sink) override {
        constexpr std::uint64_t small = std::uint64_t{1024} * 1024;
        if (compressedSize() > small) {
            readPlanes(sink);
            return;
        }
        PackedAssembly assembly(heads_);
        load(assembly);
        const PackedArray whole = assembly.finish();
        sink(whole.data(), whole.size());
    }

    /// Receives all messages, also after an error of `sink`.
    void readPlanes(const Sink& sink) {
        std::vector<unsigned char> buffer(largestPlaneOfOthers());
        std::exception_ptr error;
        const auto pass = [&](const unsigned char* bytes, std::size_t size) noexcept {
            try {
                if (error == nullptr) {
                    sink(bytes, size);
                }
            } catch (...) {
                error = std::current_exception();
            }
        };
        announce(Way::Planes);
        Transfer transfer(communicator_, requests_);
        const unsigned char* own = part_.data();
        for (std::size_t plane = 0; plane < mostPlanes; ++plane) {
            for (std::size_t rank = 0; rank < heads_.size(); ++rank) {
                const std::size_t size = heads_[rank].planes[plane].size; // 0: there is none
                if (rank == 0) {
                    pass(own, size);
                    own += size;
                } else if (size != 0) {
                    transfer.receive(static_cast<int>(rank), buffer.data(), size);
                    pass(buffer.data(), size);
                }
            }
        }
        if (error != nullptr) {
            std::rethrow_exception(error);
        }
    }

    /// Of all parts.
    std::uint64_t compressedSize() const {
        std::uint64_t size = 0;
        for (const PackedHead& head : heads_) {
            for (const PackedPlane& plane : head.planes) {
                size += plane.size;
            }
        }
        return size;
    }

    std::size_t largestPlaneOfOthers() const {
        std::uint32_t size = 0;
        for (std::size_t rank = 1; rank < heads_.size(); ++rank) {
            for (const PackedPlane& plane : heads_[rank].planes) {
                size = std::max(size, plane.size);
            }
        }
        return size;
    }

    void send() const {
        const PackedHead& head = part_.head();
        if (head.rows == 0 || way_ == Way::None) {
            return;
        }
        std::array<Transfer::Area, mostPlanes> areas;
        const unsigned char* source = part_.data();
        for (std::size_t plane = 0; plane < head.planeCount(); ++plane) {
            areas[plane] = {source, head.planes[plane].size};
            source += head.planes[plane].size;
        }
        const std::size_t areasOfMessage = way_ == Way::Whole ? head.planeCount() : 1;
        for (std::size_t plane = 0; plane < head.planeCount(); plane += areasOfMessage) {
            Transfer::send(communicator_, areas.data() + plane, areasOfMessage);
        }
    }

    Communicator& communicator_;
    PackedArray part_;
    std::vector<PackedHead> heads_;
    std::vector<MPI_Request> requests_;
    Way way_ = Way::None;
};

/// A communicator whose processes could wait for others without end is an error here.
void requireIntracommunicator(MPI_Comm communicator) {
    int isInitialized = 0;
    int isFinalized = 0;
    MPI_Initialized(&isInitialized);
    MPI_Finalized(&isFinalized);
    if (isInitialized == 0 || isFinalized != 0) {
        TYR_RAISE(Exception::InvalidObjectState("MPI is not initialised"));
    }
    int isIntercommunicator = 1;
    if (communicator != MPI_COMM_NULL) {
        MPI_Comm_test_inter(communicator, &isIntercommunicator);
    }
    if (isIntercommunicator != 0) {
        TYR_RAISE(Exception::InvalidArguments("not an intracommunicator"));
    }
}

} // namespace

class ParallelModel::Implementation {
public:
    /// Begins an operation.
    /// @param failure of this rank before the operation
    void begin(Operation operation, const Digest& arguments, const Failure& failure = Failure()) {
        if (ranks.isDisbanded()) {
            TYR_RAISE(Exception::InvalidObjectState(
                "the model was destroyed on another rank, or MPI has ended"));
        }
        ranks.agree({static_cast<std::uint64_t>(operation), arguments.value()}, failure);
    }

    /// Makes a call on rank 0.
    template <class Call>
    void runOnRoot(const Call& call) {
        ranks.agreeWithRoot(failureOf([&] {
            if (ranks.isRoot()) {
                call();
            }
        }));
    }

    template <class Call>
    void run(Operation operation, const Digest& arguments, const Call& call,
             const Failure& failure = Failure()) {
        begin(operation, arguments, failure);
        runOnRoot(call);
    }

    /// The same for a call with a result.
    template <class Call>
    unsigned int numberOf(Operation operation, const Digest& arguments, const Call& call,
                          const Failure& failure = Failure()) {
        unsigned int number = 0;
        run(
            operation, arguments, [&] { number = call(); }, failure);
        ranks.broadcast(number);
        return number;
    }

    template <class Call>
    Array1d<unsigned int> numbersOf(const Digest& arguments, const Call& call,
                                    const Failure& failure) {
        std::optional<Array1d<unsigned int>> numbers;
        run(
            Operation::AddComponents, arguments, [&] { numbers.emplace(call()); }, failure);
        std::size_t count = numbers ? numbers->size() : 0;
        ranks.broadcast(count);
        ranks.agree(failureOf([&] {
            if (!numbers) {
                numbers.emplace(count);
            }
        }));
        ranks.broadcast(numbers->data(), count * sizeof(unsigned int));
        return std::move(*numbers);
    }

    template <class Paths>
    Array1d<unsigned int> addComponents(const Paths& paths, const std::string& separator,
                                        const Failure& failure = Failure()) {
        return numbersOf(
            Digest(paths, separator),
            [&] { return model->addAssemblyComponents(paths, separator); }, failure);
    }

    unsigned int findNode(const std::vector<std::string>& components,
                          const Failure& failure = Failure()) {
        return numberOf(
            Operation::GetNodeId, Digest(components), [&] { return model->getNodeId(components); },
            failure);
    }

    Communicator ranks;
    std::optional<Model> model; ///< on rank 0

    // Of the write cycle, on this rank:
    int compressionLevel = 6;
    ParallelFor parallelFor{};
};

const Attributes& ParallelModel::emptyAttributes() {
    static const Attributes attributes;
    return attributes;
}

ParallelModel::ParallelModel(MPI_Comm communicator) {
    requireIntracommunicator(communicator);
    Communicator ranks(communicator);
    ranks.agree(failureOf([&] {
        implementation_ = std::make_unique<Implementation>();
        if (ranks.isRoot()) {
            implementation_->model.emplace();
        }
        emptyAttributes();
    }));
    implementation_->ranks = std::move(ranks);
}

ParallelModel::~ParallelModel() {
    try {
        implementation_->begin(Operation::Destroy, Digest(),
                               Failure(Failure::modelDestroyed, "the model was destroyed"));
    } catch (...) {
        // the error of this rank, which the others know now
    }
}

int ParallelModel::rank() const { return implementation_->ranks.rank(); }

int ParallelModel::size() const { return implementation_->ranks.size(); }

void ParallelModel::saveTo(const std::string& path, const SaverOptions& options) {
    ParallelFor parallelFor;
    const Failure failure = failureOf([&] { parallelFor = options.parallelFor; });
    implementation_->run(
        Operation::SaveTo,
        Digest(path, options.overwrite, options.toolName, options.toolVersion,
               options.relinkReplaced, options.journal, options.replaceWhenComplete,
               options.blockSize, options.compressionLevel),
        [&] { implementation_->model->saveTo(path, options); }, failure);
    implementation_->compressionLevel = options.compressionLevel;
    implementation_->parallelFor.swap(parallelFor);
}

void ParallelModel::close() {
    implementation_->run(Operation::Close, Digest(), [&] { implementation_->model->close(); });
    implementation_->parallelFor = nullptr; // the application may end its threads now
}

void ParallelModel::checkpoint(Durability durability) {
    implementation_->run(Operation::Checkpoint, Digest(durability),
                         [&] { implementation_->model->checkpoint(durability); });
}

std::string ParallelModel::temporaryPath() {
    std::string path;
    implementation_->run(Operation::TemporaryPath, Digest(),
                         [&] { path = implementation_->model->temporaryPath(); });
    std::size_t size = path.size();
    implementation_->ranks.broadcast(size);
    implementation_->ranks.agree(failureOf([&] { path.resize(size); }));
    implementation_->ranks.broadcast(path.data(), size);
    return path;
}

unsigned int ParallelModel::addNode(NodeType type, const std::string& name,
                                    const Attributes& attributes) {
    return implementation_->numberOf(Operation::AddNode, Digest(type, name, attributes), [&] {
        return implementation_->model->addNode(type, name, attributes);
    });
}

void ParallelModel::setCurrentNodeId(unsigned int id) {
    implementation_->run(Operation::SetCurrentNodeId, Digest(id),
                         [&] { implementation_->model->setCurrentNodeId(id); });
}

void ParallelModel::moveToParentNode() {
    implementation_->run(Operation::MoveToParentNode, Digest(),
                         [&] { implementation_->model->moveToParentNode(); });
}

unsigned int ParallelModel::getNodeId(const std::string& path, const std::string& separator) {
    return implementation_->numberOf(Operation::GetNodeId, Digest(path, separator), [&] {
        return implementation_->model->getNodeId(path, separator);
    });
}

unsigned int ParallelModel::getNodeId(const std::vector<std::string>& components) {
    return implementation_->findNode(components);
}

unsigned int ParallelModel::getNodeId(std::initializer_list<std::string> components) {
    std::vector<std::string> list;
    const Failure failure = failureOf([&] { list = components; });
    return implementation_->findNode(list, failure);
}

void ParallelModel::setNodeData(unsigned int id, const NodeProperties& properties,
                                const Attributes& attributes) {
    implementation_->run(Operation::SetNodeData, Digest(id, properties, attributes),
                         [&] { implementation_->model->setNodeData(id, properties, attributes); });
}

Array1d<unsigned int> ParallelModel::addAssemblyComponents(const std::vector<std::string>& paths,
                                                           const std::string& separator) {
    return implementation_->addComponents(paths, separator);
}

Array1d<unsigned int> ParallelModel::addAssemblyComponents(std::initializer_list<std::string> paths,
                                                           const std::string& separator) {
    std::vector<std::string> list;
    const Failure failure = failureOf([&] { list = paths; });
    return implementation_->addComponents(list, separator, failure);
}

Array1d<unsigned int> ParallelModel::addAssemblyComponents(
    const std::map<std::string, Attributes>& paths, const std::string& separator) {
    return implementation_->addComponents(paths, separator);
}

Array1d<unsigned int> ParallelModel::addAssemblyComponents(
    std::initializer_list<std::pair<const std::string, Attributes>> paths,
    const std::string& separator) {
    std::map<std::string, Attributes> map;
    const Failure failure = failureOf([&] { map = paths; });
    return implementation_->addComponents(map, separator, failure);
}

void ParallelModel::addRows(const std::string* name, DatasetType type, const Rows& rows,
                            const Ids& ids, const Steps& steps, const Attributes& attributes) {
    Gathering gathering(implementation_->ranks);
    const Failure failure =
        failureOf([&] { gathering.prepare([&] { return packed(rows, *implementation_); }); });
    Digest arguments(name != nullptr, type, rows.isInteger, ids.count, attributes);
    for (std::size_t i = 0; i < ids.count; ++i) {
        arguments.add(ids.values[i]);
    }
    if (name != nullptr) {
        arguments.add(*name);
    }
    if (steps.list != nullptr) {
        arguments.add(ValueAccess::of(*steps.list));
    } else {
        arguments.add(steps.single->name);
        arguments.add(steps.single->attributes);
    }
    implementation_->begin(Operation::AddArray, arguments, failure);
    gathering.run([&](const PackedStream& whole) {
        const Array1d<unsigned int> idList(ids.values, ids.count);
        const auto add = [&](const auto& stepList) {
            Model& model = *implementation_->model;
            name != nullptr
                ? model.addArrayProperty(*name, type, whole, idList, stepList, attributes)
                : model.addArrayProperty(type, whole, idList, stepList, attributes);
        };
        steps.list != nullptr ? add(*steps.list) : add(*steps.single);
    });
}

PackedArray ParallelModel::packed(const Rows& rows, const Implementation& options) {
    return rows.isInteger ? PackedArray(rows.integers, rows.rows, rows.width,
                                        options.compressionLevel, options.parallelFor)
                          : PackedArray(rows.floats, rows.rows, rows.width,
                                        options.compressionLevel, options.parallelFor);
}

} // namespace Tyr::Mek2
