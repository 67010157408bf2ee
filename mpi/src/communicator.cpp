#include "communicator.hpp"

#include <algorithm>
#include <limits>
#include <utility>

namespace Tyr::Mek2 {

namespace {

constexpr int messageTag = 0;

/// A type of MPI that describes a list of areas by their addresses.
class AreaType {
public:
    AreaType(const Transfer::Area* areas, std::size_t count) {
        std::array<int, Transfer::mostAreas> sizes{};
        std::array<MPI_Aint, Transfer::mostAreas> addresses{};
        for (std::size_t i = 0; i < count; ++i) {
            sizes[i] = static_cast<int>(areas[i].size);
            MPI_Get_address(areas[i].address, &addresses[i]);
        }
        MPI_Type_create_hindexed(static_cast<int>(count), sizes.data(), addresses.data(), MPI_BYTE,
                                 &type);
        MPI_Type_commit(&type);
    }
    AreaType(const AreaType&) = delete;
    AreaType& operator=(const AreaType&) = delete;
    ~AreaType() { MPI_Type_free(&type); }

    MPI_Datatype type = MPI_DATATYPE_NULL;
};

bool isFinalized() {
    int result = 0;
    MPI_Finalized(&result);
    return result != 0;
}

} // namespace

Communicator::Communicator(MPI_Comm communicator) {
    MPI_Comm_dup(communicator, &communicator_);
    MPI_Comm_set_errhandler(communicator_, MPI_ERRORS_ARE_FATAL);
    MPI_Comm_rank(communicator_, &rank_);
    MPI_Comm_size(communicator_, &size_);
}

Communicator& Communicator::operator=(Communicator&& other) noexcept {
    std::swap(communicator_, other.communicator_);
    std::swap(rank_, other.rank_);
    std::swap(size_, other.size_);
    std::swap(wasDestroyed_, other.wasDestroyed_);
    return *this;
}

Communicator::~Communicator() {
    if (communicator_ != MPI_COMM_NULL && !isFinalized()) {
        MPI_Comm_free(&communicator_);
    }
}

bool Communicator::isDisbanded() const { return wasDestroyed_ || isFinalized(); }

void Communicator::agree(const Request& request, const Failure& failure) {
    Request ofRoot = request;
    broadcast(ofRoot);
    constexpr std::int32_t invalidArguments = 3;
    if (failure) {
        agree(failure);
    } else if (ofRoot.operation != request.operation) {
        agree(Failure(invalidArguments, "another operation than on rank 0"));
    } else if (ofRoot.arguments != request.arguments) {
        agree(Failure(invalidArguments, "other arguments than on rank 0"));
    } else {
        agree(Failure());
    }
}

void Communicator::agree(const Failure& failure) {
    // a destroyed model comes first: no other error may hide that a rank has left
    const bool isDestroyed = failure.code == Failure::modelDestroyed;
    const int failed = isDestroyed ? rank_ - size_ : failure ? rank_ : size_;
    int first = size_;
    MPI_Allreduce(&failed, &first, 1, MPI_INT, MPI_MIN, communicator_);
    if (first == size_) {
        return;
    }
    first = first < 0 ? first + size_ : first;
    Failure raised = failure;
    MPI_Bcast(&raised, sizeof raised, MPI_BYTE, first, communicator_);
    wasDestroyed_ = raised.code == Failure::modelDestroyed;
    raised.raise(first);
}

void Communicator::agreeWithRoot(Failure failure) {
    broadcast(failure);
    if (failure) {
        failure.raise(0);
    }
}

void Communicator::broadcast(void* bytes, std::size_t count) {
    constexpr std::size_t largest = std::numeric_limits<int>::max();
    auto* next = static_cast<unsigned char*>(bytes);
    while (count != 0) {
        const std::size_t part = std::min(count, largest);
        MPI_Bcast(next, static_cast<int>(part), MPI_BYTE, 0, communicator_);
        next += part;
        count -= part;
    }
}

void Communicator::gather(const void* bytes, std::size_t count, void* all) {
    const int size = static_cast<int>(count);
    MPI_Gather(bytes, size, MPI_BYTE, all, size, MPI_BYTE, 0, communicator_);
}

void Transfer::receive(int rank, const Area* areas, std::size_t count) {
    const AreaType type(areas, count);
    MPI_Irecv(MPI_BOTTOM, 1, type.type, rank, messageTag, communicator_.communicator_,
              &requests_[static_cast<std::size_t>(rank)]);
}

void Transfer::finish() {
    MPI_Waitall(static_cast<int>(requests_.size()), requests_.data(), MPI_STATUSES_IGNORE);
}

void Transfer::receive(int rank, void* address, std::size_t size) {
    MPI_Recv(address, static_cast<int>(size), MPI_BYTE, rank, messageTag,
             communicator_.communicator_, MPI_STATUS_IGNORE);
}

void Transfer::send(const Communicator& communicator, const Area* areas, std::size_t count) {
    const AreaType type(areas, count);
    MPI_Ssend(MPI_BOTTOM, 1, type.type, 0, messageTag, communicator.communicator_);
}

} // namespace Tyr::Mek2
