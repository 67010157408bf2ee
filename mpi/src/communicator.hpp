/// @file
/// The messages between the ranks of a `ParallelModel`.
#pragma once

#include "failure.hpp"

#include <mpi.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Tyr::Mek2 {

/// What all ranks must call in the same way.
struct Request {
    std::uint64_t operation = 0;
    std::uint64_t arguments = 0; ///< a hash value
};

/// A private communicator. Rank 0 is the root. All operations from `agree` on are collective and
/// need no memory of the application, so none ends on one rank alone.
class Communicator {
public:
    /// No ranks; only another object can be assigned.
    Communicator() = default;

    /// A copy of `communicator`. Errors of MPI end the program from here on.
    explicit Communicator(MPI_Comm communicator);
    Communicator(const Communicator&) = delete;
    Communicator(Communicator&&) = delete;
    Communicator& operator=(const Communicator&) = delete;
    Communicator& operator=(Communicator&& other) noexcept;
    ~Communicator();

    int rank() const { return rank_; }
    int size() const { return size_; }
    bool isRoot() const { return rank_ == 0; }

    /// True after the error `Failure::modelDestroyed` of any rank, and after `MPI_Finalize`: there
    /// must be no more messages.
    bool isDisbanded() const;

    /// Whether all ranks make the same request and none has failed.
    /// @throws the error that the other `agree` raises
    void agree(const Request& request, const Failure& failure);

    /// Whether no rank has failed.
    /// @throws the error of the lowest rank whose model was destroyed; otherwise of the lowest rank
    ///     that has one
    void agree(const Failure& failure);

    /// Whether the root has failed. Errors of other ranks are not known.
    /// @throws the error
    void agreeWithRoot(Failure failure);

    /// Sends bytes of the root to all.
    void broadcast(void* bytes, std::size_t count);

    template <class T>
    void broadcast(T& value) {
        broadcast(&value, sizeof value);
    }

    /// Collects `count` bytes of each rank on the root, in the order of the ranks.
    void gather(const void* bytes, std::size_t count, void* all);

private:
    MPI_Comm communicator_ = MPI_COMM_NULL;
    int rank_ = 0;
    int size_ = 1;
    bool wasDestroyed_ = false; ///< the model, on some rank

    friend class Transfer;
};

/// Moves bytes from all ranks to places in the memory of the root. A message is a list of areas, so
/// its size has no limit of 31 bits. Messages of one rank are received in the order of sending.
class Transfer {
public:
    struct Area {
        const void* address = nullptr;
        std::size_t size = 0; ///< below 2^31
    };
    static constexpr std::size_t mostAreas = 24;

    /// @param requests on the root, one for each rank
    Transfer(Communicator& communicator, std::vector<MPI_Request>& requests)
        : communicator_(communicator), requests_(requests) {}

    /// Receives a message of one rank into `count` areas, until `finish`.
    void receive(int rank, const Area* areas, std::size_t count);

    /// Waits for all these messages.
    void finish();

    /// Receives a message with one area, and waits for it.
    void receive(int rank, void* address, std::size_t size);

    /// Sends a message to the root, and waits until it is received: otherwise MPI could keep short
    /// messages of many ranks in the memory of the root.
    static void send(const Communicator& communicator, const Area* areas, std::size_t count);

private:
    Communicator& communicator_;
    std::vector<MPI_Request>& requests_;
};

} // namespace Tyr::Mek2
